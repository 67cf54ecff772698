#!/usr/bin/env bash
# Coverage-guided fuzzing of the capture block path with clang's libFuzzer, under
# AddressSanitizer and UndefinedBehaviorSanitizer. Usage: fuzz.sh [SECONDS]  (default 60)
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
out=build/fuzz
mkdir -p "$out/corpus"
cp -n tests/data/blocks/*.bin "$out/corpus/" 2>/dev/null || true
fftw_flags=$(pkg-config --cflags --libs fftw3)
clang++ -std=c++20 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all -Isrc \
  tests/dsp/libfuzzer_blocks.cpp src/common/*.cpp src/link/*.cpp src/dsp/*.cpp $fftw_flags \
  -o "$out/libfuzzer_blocks"
"$out/libfuzzer_blocks" -max_total_time="$seconds" -max_len=20000 "$out/corpus"
