#!/usr/bin/env bash
# Remakes the pictures the README and the user guide show (docs/screenshots/), on a
# virtual screen (Xvfb), so it needs no display of its own:
#   viewer.png, viewer@2x.png   the viewer on the simulated unit with peak hold and video
#                               average on, at device pixel ratio 1 and 2
#   view-menu.png               its View menu
#   measuring.png               both cursors placed and the highest peak selected
#   window-labelled.png         viewer.png with numbered callouts for the guide
#   modem-properties.png, modem-manager.png, recent-menu.png, switched-unit.png
#                               two units added through the dialogs on a fresh settings
#                               folder and the switch between them, with a window manager
#                               so that the title bar shows the unit
#   printed-page.png            File > Print... to a PDF, in the printing palette
#   measuring-carriers.png      the wide carrier measured between the cursors with a noise
#                               band beside it, a C/N limit above its C/N raising the alarm,
#                               the peak table and the event log
#   history.png                 a restart on a recording of the simulated unit: the waterfall
#                               filled back from it, the level strips of the wide carrier, and
#                               today's recording replayed from the History menu
# BUILD_DIR names the build to use (default build/release, built first). Names of pictures
# given as arguments make those alone (measuring-carriers.png, or printed-page.png for the
# four of the directory and printing).
# SCALE=2 makes measuring-carriers@2x.png and history@2x.png instead, at device pixel ratio
# 2, to look at.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh --docs >/dev/null
BUILD_DIR=${BUILD_DIR:-build/release}
if [[ "$BUILD_DIR" == build/release ]]; then
  bash scripts/build.sh release >/dev/null
else
  cmake --build "$BUILD_DIR" --target tavrix-spectrum >/dev/null
fi
bin=$PWD/$BUILD_DIR/src/tavrix-spectrum
out=$PWD/docs/screenshots
mkdir -p "$out"
work=$(mktemp -d)

pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; pids=(); }
trap 'cleanup; rm -rf "$work"' EXIT

free_display() {
  local n
  for n in $(seq 90 120); do [[ -e /tmp/.X$n-lock || -e /tmp/.X11-unix/X$n ]] || { echo ":$n"; return; }; done
  echo "no free X display number" >&2
  exit 1
}

# start_screen WIDTH HEIGHT: a virtual screen of that many pixels; exports DISPLAY.
start_screen() {
  local display; display=$(free_display)
  # -noreset: the server would otherwise restart when the readiness probe below leaves,
  # and a viewer connecting in that moment finds no display.
  Xvfb "$display" -screen 0 "$1x$2x24" -nolisten tcp -noreset >/dev/null 2>&1 &
  pids+=($!)
  export DISPLAY=$display
  for _ in $(seq 50); do xdotool getdisplaygeometry >/dev/null 2>&1 && return; sleep 0.1; done
  echo "the virtual screen $display did not start" >&2
  exit 1
}

# wait_window TITLE-PATTERN: the id of the first window whose title matches, once it exists.
wait_window() {
  local window=""
  for _ in $(seq 150); do
    window=$(xdotool search --name "$1" 2>/dev/null | head -1) || true
    [[ -n "$window" ]] && { echo "$window"; return; }
    sleep 0.1
  done
  echo "no window titled '$1' came up on $DISPLAY" >&2
  exit 1
}

# start_unit NAME [OPTIONS...]: a simulated unit on a free loopback port, left in $unit_port.
start_unit() {
  local name=$1; shift
  /usr/bin/python3 tools/demod_sim.py --port 0 --log /dev/null "$@" >"$work/$name.port" 2>"$work/$name.err" &
  pids+=($!)
  for _ in $(seq 50); do grep -qs LISTENING "$work/$name.port" && break; sleep 0.1; done
  unit_port=$(awk '/LISTENING/ {print $2}' "$work/$name.port")
  [[ -n "$unit_port" ]] || { echo "the simulated unit $name did not start: $(cat "$work/$name.err")" >&2; exit 1; }
}

# start_demo SCALE NAME [HEIGHT]: the viewer on its simulated unit on a virtual screen of its
# own, the window at 1280x760 (or HEIGHT) logical pixels in the top left corner; its id in
# $window.
start_demo() {
  local scale=$1 name=$2 height=${3:-760}
  start_screen $((1300 * scale)) $(((height + 40) * scale))
  # Settings and recordings folders of its own: the picture never depends on (or changes)
  # the settings of whoever runs this, and what is switched on starts from its defaults.
  mkdir -p "$work/settings-$name" "$work/data-$name"
  XDG_CONFIG_HOME=$work/settings-$name XDG_DATA_HOME=$work/data-$name QT_SCALE_FACTOR=$scale "$bin" --demo \
    >/dev/null 2>&1 &
  pids+=($!)
  window=$(wait_window "Connected to Simulated Demodulator")
  # A first start opens the window centred; at the top left corner the whole window is on
  # the screen, and the clicks and crops are in the screen's own pixels.
  xdotool windowsize "$window" $((1280 * scale)) $((height * scale))
  xdotool windowmove "$window" 0 0
  xdotool mousemove $((640 * scale)) $((300 * scale)) click 1  # the plot takes the keys
}

# shoot SCALE NAME [MENU|measure]: the window at 1280x760 logical pixels after a few captures.
shoot() {
  local scale=$1 name=$2 menu=${3:-} window
  start_demo "$scale" "$name"
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
  # A window that did not take its size (or lies partly off the screen) gives a picture
  # of another size, and the guide's callouts would point at the wrong places.
  local size; size=$(identify -format "%wx%h" "$out/$name")
  if [[ "$size" != "$((1280 * scale))x$((760 * scale))" ]]; then
    echo "$out/$name is $size, not $((1280 * scale))x$((760 * scale))" >&2
    exit 1
  fi
  echo "wrote $out/$name"
  cleanup
}

# The numbered callouts of the guide's picture of the window (positions in viewer.png).
label_window() {
  local draw=() n=0 x y
  # 1 menu bar; under the toolbar: 2 export and acquisition, 3 traces, 4 pointer modes,
  # 5 zoom presets and views, 6 point moves, 7 move type, 8 threshold, 9 status lamp;
  # 10 trace key, 11 level axis, 12 frequency axis, 13 traces, 14 and 15 scroll bars,
  # 16 cursor buttons, 17 cursor read-outs; status bar: 18 notices, 19 centre frequency
  # and sample rate, 20 selected point, 21 capture progress.
  for spot in 420,9 50,57 154,57 272,57 420,57 550,57 672,57 760,57 851,57 1045,96 48,612 540,648 \
              300,200 1256,300 640,670 94,703 912,719 470,746 590,746 800,746 1215,746; do
    n=$((n + 1)); x=${spot%,*}; y=${spot#*,}
    draw+=(-fill '#E8453C' -stroke white -strokewidth 1.5 -draw "circle $x,$y $((x + 10)),$y")
    draw+=(-stroke none -fill white -draw "text $((x - (n > 9 ? 7 : 4))),$((y + 5)) '$n'")
  done
  local font=()
  convert -list font | grep -q "Font: DejaVu-Sans-Bold$" && font=(-font DejaVu-Sans-Bold)
  convert "$out/viewer.png" "${font[@]}" -pointsize 13 "${draw[@]}" "$out/window-labelled.png"
  echo "wrote $out/window-labelled.png"
}

# Two units added through the dialogs on a fresh settings folder, and the switch from
# one to the other through the recent list; then the report page printed to a PDF.
directory_and_printing() {
  start_screen 1300 800
  openbox >/dev/null 2>&1 &
  pids+=($!)
  sleep 1
  local portA portB
  start_unit rackA --center-mhz 70 --seed 3
  portA=$unit_port
  start_unit rackB --center-mhz 140 --rate-exponent 4 --seed 11
  portB=$unit_port
  mkdir -p "$work/settings" "$work/print"
  (cd "$work/print" && XDG_CONFIG_HOME=$work/settings exec "$bin" >/dev/null 2>&1) &
  pids+=($!)
  local window; window=$(wait_window "^Tavrix Spectrum Analyzer - Version")
  xdotool windowsize "$window" 1240 700
  xdotool windowmove "$window" 10 10
  sleep 0.5

  # Communications > Add Tarvix Modem, the first unit: it becomes current and connects.
  xdotool windowactivate --sync "$window" key alt+c; sleep 0.4; xdotool key a
  wait_window "^Tarvix Modem Properties$" >/dev/null
  xdotool type --delay 15 "Rack A 70 MHz"; xdotool key Tab; xdotool type --delay 15 "127.0.0.1:$portA"
  xdotool key Return
  wait_window "Connected to Rack A 70 MHz" >/dev/null
  sleep 7  # captures on the plot behind the dialogs

  # The manager, Add Modem, the second unit.
  xdotool windowactivate --sync "$window" key alt+c; sleep 0.4; xdotool key m
  local manager; manager=$(wait_window "^Select Modem$")
  sleep 0.3
  xdotool mousemove --window "$manager" 240 90 click 1  # "Add Modem"
  wait_window "^Tarvix Modem Properties$" >/dev/null
  xdotool type --delay 15 "Rack B 140 MHz"; xdotool key Tab; xdotool type --delay 15 "127.0.0.1:$portB"
  sleep 0.3
  import -window root -crop 1252x740+0+0 "$out/modem-properties.png"
  echo "wrote $out/modem-properties.png"
  xdotool key Return
  sleep 0.6
  import -window root -crop 1252x740+0+0 "$out/modem-manager.png"
  echo "wrote $out/modem-manager.png"
  xdotool key Escape
  sleep 0.5

  # The recent list: the unit heard from last at the top; the other one chosen from it.
  xdotool windowactivate --sync "$window" key alt+c; sleep 0.4
  xdotool key Down Down Down Down; sleep 0.4
  import -window root -crop 1252x740+0+0 "$out/recent-menu.png"
  echo "wrote $out/recent-menu.png"
  xdotool key Return
  wait_window "Connected to Rack B 140 MHz" >/dev/null
  xdotool mousemove 1290 790
  sleep 7
  import -window root -crop 1252x740+0+0 "$out/switched-unit.png"
  echo "wrote $out/switched-unit.png"

  # File > Print...: the preview, its print button, the print dialog's file, Print.
  xdotool windowactivate --sync "$window" key alt+f; sleep 0.4; xdotool key p
  local preview; preview=$(wait_window "^Print Preview$")
  sleep 1
  local width; width=$(xdotool getwindowgeometry "$preview" | awk '/Geometry/ {split($2, g, "x"); print g[1]}')
  xdotool mousemove --window "$preview" $((width - 22)) 19 click 1
  wait_window "^Print$" >/dev/null
  sleep 0.5
  xdotool key alt+f key ctrl+a
  xdotool type --delay 5 "$work/print/page.pdf"
  xdotool key Return
  for _ in $(seq 50); do [[ -s "$work/print/page.pdf" ]] && break; sleep 0.2; done
  sleep 1
  pdftoppm -r 100 -png -singlefile "$work/print/page.pdf" "$out/printed-page"
  echo "wrote $out/printed-page.png"
  cleanup
}

# measure_carriers NAME: the measurement panels on the simulated unit at 1280x760 logical
# pixels; the clicks and drags are at places of that window, times the scale.
measure_carriers() {
  local s=${SCALE:-1} name=$1
  [[ $s == 1 ]] || name=${name%.png}@${s}x.png
  local window
  start_demo "$s" "$name"
  at() { local x=$(($1 * s)) y=$(($2 * s)); shift 2; xdotool mousemove "$x" "$y" "$@"; }
  sleep 7
  # The cursors either side of the wide carrier (56.0 and 65.9 MHz), then View > Measure
  # Between Cursors, Peak Table and Event Log.
  xdotool key alt+v; sleep 0.3; xdotool key 1; sleep 0.3; at 238 250 click 1; sleep 0.3
  xdotool key alt+v; sleep 0.3; xdotool key 2; sleep 0.3; at 535 250 click 1; sleep 0.3
  for entry in u k g; do xdotool key alt+v; sleep 0.3; xdotool key $entry; sleep 0.5; done
  # Set Noise Band on the panel, a drag from 66.3 to 67.3 MHz; a C/N limit of 20 dB.
  at 1121 247 click 1; sleep 0.3
  at 383 150 mousedown 1; at 392 250; sleep 0.1; at 402 350 mouseup 1; sleep 0.5
  at 1163 349 click 1; sleep 0.2; xdotool key ctrl+a; xdotool type 20; xdotool key Return; sleep 0.2
  at 901 349 click 1
  at 1299 799
  sleep 7  # two captures: the alarm and its line
  import -window "$window" "$out/$name"
  echo "wrote $out/$name"
  cleanup
}

# history_shot NAME: 150 captures of the simulated unit recorded by `record` as fast as it
# answers, into the viewer's recordings folder, then the viewer on it: the waterfall filled back
# from them, the cursors either side of the wide carrier with the level strips, and
# History > Today's Recording, then a click in the middle of the C/N strip for the capture
# at that time.
history_shot() {
  local s=${SCALE:-1} name=$1
  [[ $s == 1 ]] || name=${name%.png}@${s}x.png
  local folder="$work/data-$name/Tavrix/Tavrix Spectrum Analyzer/recordings/Simulated Demodulator"
  mkdir -p "$folder"
  start_unit recorded --capture-pool 64
  "$bin" record --modem "127.0.0.1:$unit_port" --name "Simulated Demodulator" --every 0.1 --count 150 \
    --out "$folder/$(date -u +%F).tavrec" >/dev/null
  local window
  start_demo "$s" "$name" 960
  at() { local x=$(($1 * s)) y=$(($2 * s)); shift 2; xdotool mousemove "$x" "$y" "$@"; }
  sleep 4  # a capture on the plot
  # View > Waterfall and Level Strips (each the second entry of its letter), the cursors
  # either side of the wide carrier (56.0 and 65.9 MHz).
  xdotool key alt+v; sleep 0.3; xdotool key w w Return; sleep 0.5
  xdotool key alt+v; sleep 0.3; xdotool key 1; sleep 0.3; at 238 150 click 1; sleep 0.3
  xdotool key alt+v; sleep 0.3; xdotool key 2; sleep 0.3; at 535 150 click 1; sleep 0.3
  xdotool key alt+v; sleep 0.3; xdotool key r r Return; sleep 4
  # History > Today's Recording; the capture in the middle of the strips.
  xdotool key alt+y; sleep 0.3; xdotool key t; sleep 1.5
  at 640 890 click 1
  at 1299 $((960 + 39))
  sleep 1.5
  import -window "$window" "$out/$name"
  echo "wrote $out/$name"
  cleanup
}

wanted=" $* "
want() { [[ "$wanted" == "  " || "$wanted" == *" $1 "* ]]; }
want viewer.png && shoot 1 viewer.png && label_window
want viewer@2x.png && shoot 2 viewer@2x.png
want view-menu.png && shoot 1 view-menu.png alt+v
want measuring.png && shoot 1 measuring.png measure
want printed-page.png && directory_and_printing
want measuring-carriers.png && measure_carriers measuring-carriers.png
want history.png && history_shot history.png
exit 0
