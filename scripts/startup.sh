#!/usr/bin/env bash
# Start-up figures of the real window (off-screen, release build, fresh settings): the
# time from the process's start to the first painted frame (the median of five starts),
# and the resident size after 100 captures from the simulated unit.
# Targets: under 500 ms and under 80 MiB.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh >/dev/null
bash scripts/build.sh release >/dev/null
export QT_QPA_PLATFORM=offscreen
probe=build/release/bench/window_probe
times=()
for _ in 1 2 3 4 5; do
  times+=("$("$probe" startup 2>/dev/null | sed -n 's/^first frame \([0-9]*\) ms.*/\1/p')")
done
median=$(printf '%s\n' "${times[@]}" | sort -n | sed -n 3p)
resident=$("$probe" soak 100 2>/dev/null | sed -n 's/.* at end \([0-9]*\) KiB.*/\1/p')
echo "first frame ${median} ms after start (runs: ${times[*]}), resident after 100 captures $((resident / 1024)) MiB"
