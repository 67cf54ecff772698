#!/usr/bin/env bash
# Builds the Debian package and proves it on a fresh Debian 12: a bookworm root made
# with debootstrap, the package installed there by apt (which brings in what it
# declares), then --version, --help, an export of a capture block, the viewer with
# --demo on a virtual screen there, whose picture must show the live trace (kept as
# demo-from-package.png in the build folder), the monitor's files and its example run as
# the service runs it, and last a purge that must leave none of its files.
# A developer's check, not part of the test command: it downloads a base system.
# TAVRIX_BUILD=DIR packages the build there instead of making build/pkg.
set -euo pipefail
cd "$(dirname "$0")/.."
started=$(date +%s)
bash scripts/setup.sh >/dev/null
command -v debootstrap >/dev/null || apt-get install -y -q debootstrap >/dev/null
[[ $(id -u) -eq 0 ]] || { echo "package-check: needs root (debootstrap, chroot)" >&2; exit 1; }

build=${TAVRIX_BUILD:-build/pkg}
configure=()
[[ -n "${TAVRIX_BUILD:-}" ]] || configure=(-G Ninja -DCMAKE_BUILD_TYPE=Release -DTAVRIX_BENCH=OFF)
# Only what the package holds is built, and cpack installs without building the rest.
cmake -S . -B "$build" "${configure[@]}" -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON >/dev/null
cmake --build "$build" -j"$(nproc)" --target tavrix-spectrum icon_pngs >/dev/null
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
help=$(in_root tavrix-spectrum --help 2>&1) || fail "--help: $help"
grep -q '^Usage:' <<<"$help" || fail "--help: $help"
in_root tavrix-spectrum export --set scaled --out /tmp/scaled.txt /tmp/block.bin >/dev/null || fail "export"
[[ $(wc -l <"$root/tmp/scaled.txt") -eq 2049 ]] || fail "the export has $(wc -l <"$root/tmp/scaled.txt") lines"
# The monitor: its service, example configuration, scrape example, rules and dashboard in
# place; the service's exposure as systemd rates it 3 at most (of 10); the example
# configuration valid; the daemon started from it with no display serves /healthz and
# /metrics, and ends on SIGTERM.
share=/usr/share/tavrix-spectrum/monitor
for f in /usr/lib/systemd/system/tavrix-spectrum-monitor.service $share/monitor.toml $share/prometheus-scrape.yml \
         $share/tavrix-alerts.yml $share/tavrix-alerts.test.yml $share/grafana-dashboard.json; do
  [[ -f "$root$f" ]] || fail "no $f"
done
if command -v systemd-analyze >/dev/null; then
  said=$(systemd-analyze security --offline=yes --root="$root" --threshold=30 --no-pager \
           tavrix-spectrum-monitor.service 2>&1) || fail "the service is not hardened: $(tail -1 <<<"$said")"
fi
in_root tavrix-spectrum monitor --check-config $share/monitor.toml >/dev/null || fail "the example configuration"
sed 's/^listen = .*/listen = "127.0.0.1:19464"/' "$root$share/monitor.toml" >"$root/tmp/monitor.toml"
cat >"$root/tmp/scrape.py" <<'PY'
import time, urllib.request
for _ in range(100):
    try:
        health = urllib.request.urlopen("http://127.0.0.1:19464/healthz").read()
        break
    except OSError:
        time.sleep(0.1)
open("/tmp/metrics", "wb").write(health + urllib.request.urlopen("http://127.0.0.1:19464/metrics").read())
PY
in_root sh -c 'tavrix-spectrum monitor --config /tmp/monitor.toml 2>/tmp/monitor.log &
               daemon=$!
               python3 /tmp/scrape.py
               kill -TERM $daemon; wait $daemon; echo $? >/tmp/monitor.status'
grep -q '^ok$' "$root/tmp/metrics" || fail "the monitor's /healthz: $(cat "$root/tmp/monitor.log")"
grep -q '^tavrix_unit_up{unit="Rack A slot 2"} ' "$root/tmp/metrics" || fail "the monitor's /metrics"
[[ $(cat "$root/tmp/monitor.status") == 0 ]] || fail "the monitor ended with $(cat "$root/tmp/monitor.status")"
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
echo "package-check: OK: $version installs on a fresh Debian 12 with its dependencies, runs the monitor's example as a service would, shows the live display with --demo ($trace trace pixels) and purges without a trace ($(( $(date +%s) - started )) s)"
