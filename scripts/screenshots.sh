#!/usr/bin/env bash
# Remakes the pictures the README and docs show (docs/screenshots/): the viewer on the
# simulated unit with peak hold and video average on, at device pixel ratio 1 and 2, its
# View menu, and a measurement with both cursors placed and the highest peak selected. Runs on a virtual screen (Xvfb), so it needs no display of its own.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh >/dev/null
bash scripts/build.sh release >/dev/null
bin=$PWD/build/release/src/tavrix-spectrum
out=$PWD/docs/screenshots
mkdir -p "$out"

pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; }
trap cleanup EXIT

free_display() {
  local n
  for n in $(seq 90 120); do [[ -e /tmp/.X$n-lock || -e /tmp/.X11-unix/X$n ]] || { echo ":$n"; return; }; done
  echo "no free X display number" >&2
  exit 1
}

# shoot SCALE NAME [MENU]: the window at 1280x760 logical pixels after a few captures.
shoot() {
  local scale=$1 name=$2 menu=${3:-}
  local display; display=$(free_display)
  Xvfb "$display" -screen 0 "$((1300 * scale))x$((800 * scale))x24" -nolisten tcp >/dev/null 2>&1 &
  pids+=($!)
  sleep 1
  DISPLAY=$display QT_SCALE_FACTOR=$scale "$bin" --demo >/dev/null 2>&1 &
  pids+=($!)
  local window=""
  for _ in $(seq 100); do
    window=$(DISPLAY=$display xdotool search --name "Connected to Simulated Demodulator" 2>/dev/null | head -1) || true
    [[ -n "$window" ]] && break
    sleep 0.1
  done
  [[ -n "$window" ]] || { echo "the viewer did not come up on $display" >&2; exit 1; }
  export DISPLAY=$display
  xdotool windowsize "$window" $((1280 * scale)) $((760 * scale))
  xdotool mousemove $((640 * scale)) $((300 * scale)) click 1  # the plot takes the keys
  sleep 0.3
  xdotool key alt+t; sleep 0.3; xdotool key h; sleep 0.3   # Tools > Peak Hold Trace
  xdotool key alt+t; sleep 0.3; xdotool key v; sleep 0.3   # Tools > Video Average Trace
  xdotool mousemove $((1300 * scale - 2)) $((800 * scale - 2))  # the pointer out of the picture
  sleep 13  # four captures, one every 3 s
  if [[ "$menu" == measure ]]; then
    # Both cursors placed with the mouse, then the highest peak selected from the View menu.
    xdotool key alt+v; sleep 0.3; xdotool key 1; sleep 0.3
    xdotool mousemove $((430 * scale)) $((250 * scale)) click 1; sleep 0.3
    xdotool key alt+v; sleep 0.3; xdotool key 2; sleep 0.3
    xdotool mousemove $((870 * scale)) $((410 * scale)) click 1; sleep 0.3
    xdotool key alt+v; sleep 0.3; xdotool key t; sleep 0.8
    menu=""
  fi
  if [[ -n "$menu" ]]; then
    xdotool key "$menu"
    sleep 0.6
    import -window root -crop "$((1280 * scale))x$((760 * scale))+0+0" "$out/$name"
  else
    import -window "$window" "$out/$name"
  fi
  echo "wrote $out/$name"
  unset DISPLAY
  cleanup
  pids=()
}

shoot 1 viewer.png
shoot 2 viewer@2x.png
shoot 1 view-menu.png alt+v
shoot 1 measuring.png measure
