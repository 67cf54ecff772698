#!/usr/bin/env bash
# Coverage-guided fuzzing of the capture block path with clang's libFuzzer, under
# AddressSanitizer and UndefinedBehaviorSanitizer. Usage: fuzz.sh [SECONDS]  (default 60)
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
out=build/fuzz
mkdir -p "$out/corpus"
cp -n tests/data/blocks/*.bin "$out/corpus/" 2>/dev/null || true
# The core alone: the block parser, the update and the export, over Qt Core's files.
flags=$(pkg-config --cflags --libs fftw3 Qt6Core)
clang++ -std=c++20 -O1 -g -fPIC -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all -DTAVRIX_LIBFUZZER \
  -Isrc tests/dsp/fuzz_blocks.cpp src/common/*.cpp src/dsp/*.cpp $flags -o "$out/libfuzzer_blocks"
"$out/libfuzzer_blocks" -max_total_time="$seconds" -max_len=20000 "$out/corpus"
