#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test twice: once in the release
# build, once under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh --tests
export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

echo "== release build"
bash scripts/build.sh release
ctest --test-dir build/release --output-on-failure -j "$(nproc)"

echo "== sanitizer build"
bash scripts/build.sh asan
ctest --test-dir build/asan --output-on-failure -j "$(nproc)"
