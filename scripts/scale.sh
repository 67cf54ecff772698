#!/usr/bin/env bash
# Scale: the monitor daemon watching N simulated units (default 500) at a 3 s interval on
# this machine, for SECONDS (default 180) after a warm-up of two intervals. Ends with
#   units N, cycles C, missed M, cpu P %, rss R MiB, scrape S ms
# C: polls finished in the window; M: polls skipped because the unit's previous one still
# ran; P: the daemon's CPU time over the window's wall time (100 % is one core); R: its
# resident size at the end; S: the slowest of the scrapes of /metrics made during the window.
# Targets at 500 units: missed 0, cpu under 100 %, rss under 400 MiB, scrape under 100 ms.
# The time the daemon took to end after SIGTERM goes to stderr. TAVRIX_BUILD=DIR uses the
# program built there instead of building the release build. SCALE_STALLING=K makes the
# first K units stall every transfer for 10 s; M then counts the other units' missed polls,
# which stalling units must never cause.
set -euo pipefail
cd "$(dirname "$0")/.."
n=${1:-500}
seconds=${2:-180}
stalling=${SCALE_STALLING:-0}
[[ "$n" =~ ^[1-9][0-9]*$ && "$seconds" =~ ^[1-9][0-9]*$ ]] || { echo "usage: scale.sh [N] [SECONDS]" >&2; exit 2; }
[[ "$stalling" =~ ^[0-9]+$ ]] && ((stalling < n)) ||
  { echo "scale: SCALE_STALLING must be a number of units below N ($n), not '$stalling'" >&2; exit 2; }
if [[ -z "${TAVRIX_BUILD:-}" ]]; then
  bash scripts/setup.sh >/dev/null
  bash scripts/build.sh release >/dev/null
  TAVRIX_BUILD=build/release
fi
program=$TAVRIX_BUILD/src/tavrix-spectrum
work=$(mktemp -d)
sim_pid= daemon_pid=
cleanup() {
  [[ -n "$daemon_pid" ]] && kill "$daemon_pid" 2>/dev/null || true
  [[ -n "$sim_pid" ]] && kill "$sim_pid" 2>/dev/null || true
  wait 2>/dev/null || true
  [[ -n "${SCALE_KEEP:-}" ]] && echo "kept $work" >&2 || rm -rf "$work"
}
trap cleanup EXIT

free_port() { python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'; }
# A figure of the daemon's process: cpu (seconds, all threads) or rss (MiB).
process_figure() {
  python3 - "$daemon_pid" "$1" <<'PY'
import os, sys
pid, what = sys.argv[1], sys.argv[2]
if what == "cpu":
    fields = open("/proc/%s/stat" % pid).read().rsplit(")", 1)[1].split()
    print((int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK"))
else:
    for line in open("/proc/%s/status" % pid):
        if line.startswith("VmRSS:"):
            print(int(line.split()[1]) / 1024)
PY
}
# Polls finished and polls missed over all units, from /units.
counts() {
  curl -sf "http://127.0.0.1:$listen/units" | python3 -c '
import ipaddress, json, sys
units, first, stalling = json.load(sys.stdin)["units"], int(sys.argv[1]), int(sys.argv[2])
def number(address):  # from 0: unit k has the k-th loopback address, or else the k-th port
    host, port = address.rsplit(":", 1)
    return int(ipaddress.ip_address(host)) - int(ipaddress.ip_address("127.0.0.1")) + int(port) - first
healthy = [u for u in units if number(u["address"]) >= stalling]
print(sum(u["captures"] + sum(u["failures"].values()) for u in units), sum(u["missed"] for u in healthy))' "$first" "$stalling"
}
faults=()
((stalling > 0)) && faults=(--fault-units "1-$stalling" --stall-transfer 10)

echo "starting $n simulated units ..." >&2
python3 tools/demod_sim.py --units "$n" --spread-hosts --quiet "${faults[@]}" >"$work/sim.out" 2>"$work/sim.err" &
sim_pid=$!
for _ in $(seq 600); do grep -q LISTENING "$work/sim.out" 2>/dev/null && break; sleep 0.1; done
first=$(sed -n 's/^LISTENING \([0-9]*\)$/\1/p' "$work/sim.out")
[[ -n "$first" ]] || { echo "scale: the simulator did not start:" >&2; cat "$work/sim.err" >&2; exit 1; }
listen=$(free_port)
python3 tools/rack_config.py --units "$n" --spread-hosts --port "$first" --listen "127.0.0.1:$listen" >"$work/monitor.toml"
"$program" monitor --config "$work/monitor.toml" 2>"$work/daemon.log" &
daemon_pid=$!
for _ in $(seq 100); do curl -sf "http://127.0.0.1:$listen/healthz" >/dev/null && break; sleep 0.1; done
sleep 6  # two intervals: every unit has polled
read -r polls0 missed0 < <(counts)
cpu0=$(process_figure cpu)
start=$(date +%s.%N)
echo "measuring for $seconds s ..." >&2
scrape=0
for ((i = 0; i < 10; i++)); do
  sleep "$(python3 -c "print($seconds / 10)")"
  s=$(curl -sf -o /dev/null -w '%{time_total}' "http://127.0.0.1:$listen/metrics")
  scrape=$(python3 -c "print(max($scrape, $s * 1000))")
done
cpu1=$(process_figure cpu)
end=$(date +%s.%N)
read -r polls1 missed1 < <(counts)
rss=$(process_figure rss)
stop_start=$(date +%s.%N)
kill -TERM "$daemon_pid"
wait "$daemon_pid" || true
stop_end=$(date +%s.%N)
daemon_pid=
python3 -c "print('daemon stopped in %.0f ms after SIGTERM' % (($stop_end - $stop_start) * 1000))" >&2
grep -v " alarm " "$work/daemon.log" | tail -5 >&2 || true
python3 -c "
print('units $n, cycles %d, missed %d, cpu %.0f %%, rss %.0f MiB, scrape %.0f ms' % (
    $polls1 - $polls0, $missed1 - $missed0, ($cpu1 - $cpu0) / ($end - $start) * 100, $rss, $scrape))"
