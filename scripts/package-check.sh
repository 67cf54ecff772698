#!/usr/bin/env bash
# Builds the Debian package and proves it on a fresh Debian 12: a bookworm root made
# with debootstrap, the package installed there by apt (which brings in what it
# declares), then --version, --help, an export of a capture block, the viewer with
# --demo on a virtual screen there, whose picture must show the live trace (kept as
# build/pkg/demo-from-package.png), and last a purge that must leave none of its files.
# A developer's check, not part of the test command: it downloads a base system.
set -euo pipefail
cd "$(dirname "$0")/.."
started=$(date +%s)
bash scripts/setup.sh >/dev/null
command -v debootstrap >/dev/null || apt-get install -y -q debootstrap >/dev/null
[[ $(id -u) -eq 0 ]] || { echo "package-check: needs root (debootstrap, chroot)" >&2; exit 1; }

build=build/pkg
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTAVRIX_BENCH=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" >/dev/null
rm -f "$build"/tavrix-spectrum_*.deb
(cd "$build" && cpack -G DEB >/dev/null)
deb=$(ls "$build"/tavrix-spectrum_*.deb)
echo "package: $deb" >&2
dpkg-deb -f "$deb" Depends >&2

mirror=$(sed -n 's/^URIs: *//p' /etc/apt/sources.list.d/debian.sources 2>/dev/null | head -1)
root=$(mktemp -d /var/tmp/tavrix-bookworm.XXXXXX)
cleanup() {
  umount -l "$root/proc" 2>/dev/null || true
  umount -l "$root/dev" 2>/dev/null || true
  rm -rf --one-file-system "$root" "$root.log"
}
trap cleanup EXIT
echo "a fresh Debian 12 in $root ..." >&2
debootstrap --variant=minbase bookworm "$root" "${mirror:-http://deb.debian.org/debian}" >"$root.log" 2>&1 ||
  { tail -5 "$root.log" >&2; exit 1; }
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
cp "$deb" "$root/tmp/tavrix-spectrum.deb"
cp tests/data/blocks/noise_seed1234.bin "$root/tmp/block.bin"
in_root() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 "$@"; }
in_root apt-get update -q >/dev/null
in_root apt-get install -y -q --no-install-recommends /tmp/tavrix-spectrum.deb >"$root.log" 2>&1 ||
  { tail -20 "$root.log" >&2; exit 1; }

fail() { echo "package-check: FAILED: $*"; exit 1; }
version=$(in_root tavrix-spectrum --version | head -1)
[[ "$version" == "tavrix-spectrum $(dpkg-deb -f "$deb" Version)" ]] || fail "--version said '$version'"
in_root tavrix-spectrum --help | grep -q '^Usage:' || fail "--help"
in_root tavrix-spectrum export --set scaled --out /tmp/scaled.txt /tmp/block.bin >/dev/null || fail "export"
[[ $(wc -l <"$root/tmp/scaled.txt") -eq 2049 ]] || fail "the export has $(wc -l <"$root/tmp/scaled.txt") lines"
# The viewer with its simulated unit on a virtual screen of the fresh system: after a
# few captures the screen must show the trace in the viewing palette's trace colour.
in_root apt-get install -y -q --no-install-recommends xvfb x11-apps >"$root.log" 2>&1 ||
  { tail -20 "$root.log" >&2; exit 1; }
in_root sh -c 'Xvfb :7 -screen 0 1280x800x24 -nolisten tcp -noreset >/dev/null 2>&1 &
               screen=$!
               sleep 2
               DISPLAY=:7 XDG_RUNTIME_DIR=/tmp tavrix-spectrum --demo >/tmp/demo.log 2>&1 &
               viewer=$!
               sleep 12
               for p in /proc/[0-9]*; do tr "\0" " " <"$p/cmdline" 2>/dev/null; echo; done >/tmp/processes
               DISPLAY=:7 xwd -root -silent >/tmp/screen.xwd
               kill "$viewer"; wait "$viewer" 2>/dev/null || true
               kill "$screen"'
grep -q "python3 -B /usr/share/tavrix-spectrum/demod_sim.py" "$root/tmp/processes" || fail "no simulated unit: $(cat "$root/tmp/demo.log")"
! grep -qi "could not\|needs Python\|not found" "$root/tmp/demo.log" || fail "$(cat "$root/tmp/demo.log")"
convert "xwd:$root/tmp/screen.xwd" "$build/demo-from-package.png"
trace=$(convert "$build/demo-from-package.png" -fill black +opaque "#F0E442" -fill white -opaque "#F0E442" \
          -format "%[fx:round(mean*w*h)]" info:)
(( trace > 1000 )) || fail "the screen shows no live trace ($trace trace pixels; see $build/demo-from-package.png)"
[[ -f "$root/usr/share/icons/hicolor/48x48/apps/tavrix-spectrum.png" ]] || fail "no icon"
# Removal: every file the package put in place goes, and its own folders with them.
mapfile -t installed < <(in_root dpkg -L tavrix-spectrum)
in_root apt-get purge -y -q tavrix-spectrum >"$root.log" 2>&1 || { tail -20 "$root.log" >&2; exit 1; }
left=()
for f in "${installed[@]}"; do
  if [[ -e "$root$f" && ! -d "$root$f" ]]; then left+=("$f"); fi
done
if [[ -e "$root/usr/share/tavrix-spectrum" ]]; then left+=(/usr/share/tavrix-spectrum); fi
((${#left[@]} == 0)) || fail "the purge left ${left[*]}"
echo "package-check: OK: $version installs on a fresh Debian 12 with its dependencies, shows the live display with --demo ($trace trace pixels) and purges without a trace ($(( $(date +%s) - started )) s)"
