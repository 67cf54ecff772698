#!/usr/bin/env bash
# Soak: N acquisitions (default 1000) from the simulated unit with the real window open
# (off-screen, poll interval compressed to 20 ms), once under AddressSanitizer and
# LeakSanitizer to count leaks, once in the release build to measure the growth of the
# resident size from after the 10th acquisition to the end. The last line reads
#   acquisitions N, leaks L, growth G KiB
# (L: allocations LeakSanitizer found leaked at exit). Targets: no leak, growth < 1024 KiB.
set -euo pipefail
cd "$(dirname "$0")/.."
n=${1:-1000}
[[ "$n" =~ ^[1-9][0-9]*$ && "$n" -ge 10 ]] || { echo "usage: soak.sh [N >= 10]" >&2; exit 2; }
bash scripts/setup.sh >/dev/null
echo "building (release and sanitizer) ..." >&2
bash scripts/build.sh release >/dev/null
bash scripts/build.sh asan >/dev/null
export QT_QPA_PLATFORM=offscreen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "$n acquisitions under AddressSanitizer/LeakSanitizer ..." >&2
status=0
ASAN_OPTIONS=detect_leaks=1:exitcode=23 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  build/asan/bench/window_probe soak "$n" >"$work/asan.out" 2>"$work/asan.err" || status=$?
if [[ $status -ne 0 && $status -ne 23 ]]; then
  echo "soak: the sanitizer run failed (status $status):" >&2
  tail -20 "$work/asan.err" >&2
  exit 1
fi
leaks=$(sed -n 's/^SUMMARY: AddressSanitizer: .* leaked in \([0-9]*\) allocation.*/\1/p' "$work/asan.err" | tail -1)
leaks=${leaks:-0}
[[ "$leaks" == 0 ]] || grep -A12 -m3 "^Direct leak\|^Indirect leak" "$work/asan.err" >&2 || true

echo "$n acquisitions in the release build ..." >&2
if ! build/release/bench/window_probe soak "$n" >"$work/release.out" 2>"$work/release.err"; then
  echo "soak: the release run failed:" >&2
  tail -20 "$work/release.err" >&2
  exit 1
fi
cat "$work/release.out" >&2
read -r done growth < <(sed -n 's/^acquisitions \([0-9]*\),.* growth \(-\?[0-9]*\) KiB$/\1 \2/p' "$work/release.out")
echo "acquisitions $done, leaks $leaks, growth $growth KiB"
