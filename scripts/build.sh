#!/usr/bin/env bash
# Configures and builds one variant. Usage: build.sh [release|asan]  (default release)
set -euo pipefail
cd "$(dirname "$0")/.."
variant=${1:-release}
case "$variant" in
  release) dir=build/release; flags=(-DCMAKE_BUILD_TYPE=Release) ;;
  asan)    dir=build/asan;    flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVRIX_SANITIZE=ON -DTAVRIX_BENCH=OFF) ;;
  *) echo "build.sh: unknown variant $variant (release or asan)" >&2; exit 2 ;;
esac
cmake -S . -B "$dir" -G Ninja -DTAVRIX_WERROR=ON "${flags[@]}" >/dev/null
cmake --build "$dir" -j "$(nproc)"
