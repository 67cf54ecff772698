#!/usr/bin/env bash
# Runs the built command on every acceptance block and sequence and compares each
# written data set with the expected file. Usage: fixture_exports.sh BINARY DATA PYTHON
set -u
bin=$1 data=$2 python=$3
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
checked=0 failed=0

check() {  # check EXPECTED [--iq] -- export args...
  local expected=$1; shift
  local iq=(); [[ $1 == --iq ]] && { iq=(--iq); shift; }
  shift  # --
  if ! "$bin" export "$@" --out "$out/got.txt" >/dev/null; then
    echo "FAIL: export $* exited non-zero"; failed=$((failed + 1)); return
  fi
  if ! result=$("$python" "$data/compare.py" "${iq[@]}" "$out/got.txt" "$expected"); then
    echo "FAIL: export $*"; echo "$result" | head -5; failed=$((failed + 1)); return
  fi
  checked=$((checked + 1))
}

for block in "$data"/blocks/*.bin; do
  name=$(basename "$block" .bin)
  for w in on off; do
    check "$data/expected/$name.scaled.window_$w.txt" -- --set scaled --window "$w" "$block"
    check "$data/expected/$name.raw.window_$w.txt" --iq -- --set raw --window "$w" "$block"
  done
done
seq=()
for name in rate_exp_0003 center_000F4240 noise_seed1234; do seq+=("$data/blocks/$name.bin"); done
for w in on off; do
  for set in scaled peakhold videoaverage; do
    check "$data/expected/sequences/seq_changing_header.window_$w.$set.txt" -- \
      --set "$set" --window "$w" --peak-hold --video-average "${seq[@]}"
  done
done
# The window option defaults to on.
check "$data/expected/noise_seed1234.scaled.window_on.txt" -- --set scaled "$data/blocks/noise_seed1234.bin"
for set in raw transformed scaled peakhold videoaverage; do
  iq=(); [[ $set == raw || $set == transformed ]] && iq=(--iq)
  check "$data/expected/no_block.$set.txt" "${iq[@]}" -- --set "$set" "$data/blocks/empty.bin"
done

echo "$checked passed, $failed failed"
[[ $failed -eq 0 && $checked -gt 0 ]]
