#!/usr/bin/env bash
# Installs what is missing, builds, and opens the viewer: on the units of its modem
# directory when some are configured, otherwise on the built-in simulated demodulator
# (--demo), the unit to watch while none of the rack's is. On a
# machine without a display it says so and draws the simulated unit's live spectrum into
# a PNG instead, and says where it went.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
bash scripts/build.sh release >/dev/null
bin=build/release/src/tavrix-spectrum

if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
  # The viewer's per-user settings: a directory with units in it has a ModemCount above 0.
  settings="${XDG_CONFIG_HOME:-$HOME/.config}/Tavrix/Tavrix Spectrum Analyzer.conf"
  if grep -qs '^ModemCount=[1-9]' "$settings"; then
    exec "$bin"
  fi
  exec "$bin" --demo
fi

echo "No display here: drawing the simulated unit's live spectrum into a PNG instead."
work=$(mktemp -d)
python3 tools/demod_sim.py --port 0 --log /dev/null >"$work/listening" 2>"$work/errors" &
sim=$!
trap 'kill "$sim" 2>/dev/null; rm -rf "$work"' EXIT
for _ in $(seq 50); do grep -q LISTENING "$work/listening" && break; sleep 0.1; done
port=$(awk '/LISTENING/ {print $2}' "$work/listening")
if [[ -z "$port" ]]; then
  echo "The simulated demodulator did not start: $(cat "$work/errors")" >&2
  exit 1
fi
blocks=()
for n in 1 2 3 4; do
  "$bin" snapshot --modem "127.0.0.1:$port" --save-block "$work/capture_$n.bin" >/dev/null
  blocks+=("$work/capture_$n.bin")
done
"$bin" render --png "${TAVRIX_OUT:-$PWD/build/live_spectrum.png}" --peak-hold --video-average "${blocks[@]}"
