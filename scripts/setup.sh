#!/usr/bin/env bash
# Installs the Debian 12 packages the project needs to build and run; with --tests also
# what the tests need beyond that, with --docs what scripts/screenshots.sh needs.
# Idempotent: when every package is present it installs nothing.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev qt6-svg-dev
  libfftw3-dev
  libcurl4-openssl-dev
  libzstd-dev
  libtomlplusplus-dev qt6-httpserver-dev qt6-websockets-dev
  libbenchmark-dev
  python3 python3-pyftpdlib
  xvfb xauth xdotool imagemagick fonts-liberation
  desktop-file-utils appstream
)
# The pictures of the documentation also need a window manager (title bars) and a PDF reader.
if [[ "${1:-}" == --docs ]]; then PACKAGES+=(openbox poppler-utils); fi
# Prometheus (its promtool checks the metrics text) only where tests run: its package starts
# a Prometheus server as a service, which an operator's desk has no use for.
if [[ "${1:-}" == --tests ]]; then PACKAGES+=(prometheus); fi

missing=()
for pkg in "${PACKAGES[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$pkg")
done

if ((${#missing[@]} == 0)); then
  echo "setup: all packages present"
  exit 0
fi

SUDO=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "setup: not root and no sudo; install: ${missing[*]}" >&2; exit 1; }
  SUDO=(sudo)
fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" apt-get update -q
"${SUDO[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
