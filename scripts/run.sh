#!/usr/bin/env bash
# Installs what is missing, builds, and runs the product on a capture block that ships
# with it: the headless export of the transformed and scaled data set.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
bash scripts/build.sh release >/dev/null
out=${TAVRIX_OUT:-$PWD/build/sample_capture.scaled.txt}
build/release/src/tavrix-spectrum export --set scaled --out "$out" data/sample_capture.bin
