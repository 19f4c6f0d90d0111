#!/usr/bin/env bash
# Builds the Debian package from the release build and checks it: its metadata and contents,
# lintian, the desktop entry and the AppStream file, then unpacks it into a temporary root and
# runs the unpacked halvoren-probe on a simulated Mac. Needs only what scripts/setup.sh installs.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --workflow --preset package
deb=$(ls -t build/release/package/halvoren_*.deb | head -n 1)
echo "== $deb ($(stat -c %s "$deb") bytes)"
dpkg-deb -I "$deb"
dpkg-deb -c "$deb"

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb -x "$deb" "$root"

# Every file a user's system relies on is where the unit and the desktop expect it.
for file in usr/bin/halvoren usr/bin/halvoren-probe usr/libexec/halvoren/halvoren-helper usr/libexec/halvoren/halvoren-helper-service \
    usr/lib/systemd/system/halvoren-helper.service usr/lib/sysusers.d/halvoren.conf \
    usr/share/polkit-1/actions/com.halvoren.helper.policy usr/share/applications/halvoren.desktop \
    usr/share/icons/hicolor/scalable/apps/halvoren.svg usr/share/metainfo/com.halvoren.Halvoren.metainfo.xml \
    usr/share/doc/halvoren/copyright usr/share/doc/halvoren/changelog.Debian.gz; do
    [ -e "$root/$file" ] || { echo "check-package: $file is missing" >&2; exit 1; }
done
exec_start=$(sed -n 's/^ExecStart=\([^ ]*\).*/\1/p' "$root/usr/lib/systemd/system/halvoren-helper.service")
[ -x "$root$exec_start" ] || { echo "check-package: the unit starts $exec_start, which the package lacks" >&2; exit 1; }

echo "== lintian"
# Errors fail the check; warnings are listed for the reader.
lintian --fail-on error "$deb"
# The helper runs as root: a binary that lost the optimised builds' hardening fails the check too.
if lintian -I "$deb" 2>/dev/null | grep hardening-no-; then
    echo "check-package: a binary lacks the hardening flags" >&2
    exit 1
fi
echo "== desktop-file-validate"
desktop-file-validate "$root/usr/share/applications/halvoren.desktop"
echo "== appstreamcli validate"
appstreamcli validate --no-net "$root/usr/share/metainfo/com.halvoren.Halvoren.metainfo.xml"

echo "== the unpacked halvoren-probe --simulate"
QT_QPA_PLATFORM=offscreen "$root/usr/bin/halvoren-probe" --simulate > "$root/probe.txt"
head -n 12 "$root/probe.txt"
grep -q '^Sensors (' "$root/probe.txt"
"$root/usr/libexec/halvoren/halvoren-helper" --help | grep -q -- --allow-group
echo "check-package: ok"
