#!/usr/bin/env bash
# A real Prometheus against the monitor: three simulated units (two of them with a fading
# carrier) watched by the daemon at a 1 s interval, scraped every second by Prometheus on
# loopback with the shipped alerting rules (their waits shortened to 2 s). Checks through
# Prometheus' query API that every series arrives for every unit with the right labels (a
# unit name with quotes, a backslash and non-ASCII letters included), that the C/N alert
# fires when a fading carrier goes under its limit and resolves when it comes back, and
# that the steady carrier's never fires. Takes one to three minutes; TAVRIX_BUILD=DIR uses
# the program built there instead of building the release build.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ -z "${TAVRIX_BUILD:-}" ]]; then
  bash scripts/setup.sh --tests >/dev/null
  bash scripts/build.sh release >/dev/null
  TAVRIX_BUILD=build/release
fi
command -v prometheus >/dev/null || { echo "prometheus-check: prometheus is missing (bash scripts/setup.sh --tests)" >&2; exit 1; }
work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
free_port() { python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'; }

python3 tools/demod_sim.py --units 3 --quiet >"$work/sim.out" 2>"$work/sim.err" &
pids+=($!)
for _ in $(seq 100); do grep -q LISTENING "$work/sim.out" 2>/dev/null && break; sleep 0.1; done
first=$(sed -n 's/^LISTENING \([0-9]*\)$/\1/p' "$work/sim.out")
[[ -n "$first" ]] || { echo "prometheus-check: the simulator did not start" >&2; cat "$work/sim.err" >&2; exit 1; }
monitor_port=$(free_port)
python3 tools/rack_config.py --units 3 --port "$first" --interval 1 --listen "127.0.0.1:$monitor_port" \
  --name 'Rack "A" \ slot %d Zürich' >"$work/monitor.toml"
"$TAVRIX_BUILD/src/tavrix-spectrum" monitor --config "$work/monitor.toml" 2>"$work/monitor.log" &
pids+=($!)

sed 's/^\(\s*for:\).*/\1 2s/' packaging/monitor/tavrix-alerts.yml >"$work/rules.yml"
cat >"$work/prometheus.yml" <<YML
global:
  scrape_interval: 1s
  evaluation_interval: 1s
rule_files:
  - $work/rules.yml
scrape_configs:
  - job_name: tavrix
    static_configs:
      - targets: ["127.0.0.1:$monitor_port"]
YML
prometheus_port=$(free_port)
prometheus --config.file="$work/prometheus.yml" --storage.tsdb.path="$work/data" \
  --web.listen-address="127.0.0.1:$prometheus_port" --log.level=warn >"$work/prometheus.log" 2>&1 &
pids+=($!)

status=0
python3 - "$prometheus_port" <<'PY' || status=$?
import json, sys, time, urllib.parse, urllib.request

API = "http://127.0.0.1:%s/api/v1/" % sys.argv[1]
UNITS = ['Rack "A" \\ slot %d Zürich' % n for n in (1, 2, 3)]
FADING, STEADY = (UNITS[0], UNITS[2]), UNITS[1]
PER_UNIT = ["tavrix_unit_up", "tavrix_unit_info", "tavrix_captures_total", "tavrix_missed_cycles_total",
            "tavrix_center_frequency_hertz", "tavrix_sample_rate_hertz", "tavrix_poll_interval_seconds",
            "tavrix_last_capture_timestamp_seconds"]
PER_BAND = ["tavrix_band_channel_power_db", "tavrix_band_cn_db", "tavrix_band_peak_level_db",
            "tavrix_band_occupied_bandwidth_hertz"]
failed = []


def get(path, **query):
    url = API + path + ("?" + urllib.parse.urlencode(query) if query else "")
    try:
        with urllib.request.urlopen(url, timeout=5) as reply:
            return json.load(reply)["data"]
    except OSError:
        return None


def series(expr):
    data = get("query", query=expr)
    return [r["metric"] for r in data["result"]] if data else []


def wait(what, test, seconds):
    end = time.time() + seconds
    while time.time() < end:
        if test():
            print("ok: " + what)
            return True
        time.sleep(1)
    failed.append(what)
    print("FAILED: " + what)
    return False


def units_of(expr, **labels):
    return sorted(m.get("unit") for m in series(expr) if all(m.get(k) == v for k, v in labels.items()))


wait("Prometheus scrapes the monitor", lambda: series('up{job="tavrix"} == 1'), 60)
wait("every unit is up, its name intact", lambda: units_of("tavrix_unit_up == 1") == sorted(UNITS), 60)
# Figures absent for a moment (C/N while a carrier is under the noise) count over the last minute.
for name in PER_UNIT + PER_BAND:
    wait(name + " for every unit", lambda: units_of("last_over_time(%s[1m])" % name) == sorted(UNITS), 30)
for reason in ("connect", "request", "read", "short"):
    wait("tavrix_poll_failures_total{reason=%r} for every unit" % reason,
         lambda: units_of("tavrix_poll_failures_total", reason=reason) == sorted(UNITS), 10)
for quantity in ("channel_power", "cn"):
    wait("tavrix_band_alarm{quantity=%r} for every unit's band" % quantity,
         lambda: units_of("last_over_time(tavrix_band_alarm[1m])", quantity=quantity, band="narrow") == sorted(UNITS), 10)
for name in ("tavrix_poll_duration_seconds_count", "process_cpu_seconds_total", "process_resident_memory_bytes"):
    wait(name, lambda: series(name), 10)


def firing(unit):
    """Whether the C/N alert of the unit fires; None when Prometheus did not answer."""
    alerts = get("alerts")
    if alerts is None:
        return None
    return any(a["labels"].get("alertname") == "TavrixCarrierToNoiseLow" and a["labels"].get("unit") == unit and
               a["state"] == "firing" for a in alerts["alerts"])


steady_fired = []
def watch(test):
    steady_fired.append(firing(STEADY) is True)
    return test()

# A fade takes about twenty captures, twenty seconds here: the alert comes and goes within a few.
unit = FADING[0]
wait("the C/N alert fires for a fading carrier", lambda: watch(lambda: firing(unit) is True), 90)
wait("the C/N alert resolves when the carrier comes back", lambda: watch(lambda: firing(unit) is False), 90)
if any(steady_fired):
    failed.append("the steady carrier's C/N alert fired")
    print("FAILED: the steady carrier's C/N alert fired")
else:
    print("ok: the steady carrier's C/N alert never fired")
print("%d passed, %d failed" % (len(PER_UNIT) + len(PER_BAND) + 16 - len(failed), len(failed)))
sys.exit(1 if failed else 0)
PY
if [[ $status -ne 0 ]]; then
  echo "--- monitor log" >&2; grep -v " alarm " "$work/monitor.log" | tail -20 >&2
  echo "--- prometheus log" >&2; tail -20 "$work/prometheus.log" >&2
fi
exit $status
