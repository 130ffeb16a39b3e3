#!/usr/bin/env bash
# The Debian package of a built tree: what it holds, with which modes, and what
# it depends on.
# Usage: CheckDebPackage.sh BUILD-DIR VERSION
set -euo pipefail

build=$1
version=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work" >"$work/cpack.log" 2>&1 || {
  cat "$work/cpack.log" >&2
  exit 1
}
deb=$(ls "$work"/zel_"$version"_*.deb)

dpkg-deb -c "$deb" | awk '{ print $1, $6 }' >"$work/contents"
for entry in "-rwxr-xr-x ./usr/bin/zel" "-rwxr-xr-x ./usr/bin/zel-cli" \
             "-rw-r--r-- ./usr/share/zel/ZEL.pfs" "-rw-r--r-- ./usr/share/doc/zel/README.md" \
             "-rw-r--r-- ./usr/share/applications/zel.desktop" \
             "-rw-r--r-- ./usr/share/applications/zel-subtitles.desktop" \
             "-rw-r--r-- ./usr/share/metainfo/org.calder.zel.metainfo.xml" \
             "-rw-r--r-- ./usr/share/mime/packages/zel.xml" \
             "-rw-r--r-- ./usr/share/icons/hicolor/scalable/apps/zel.svg" \
             "-rw-r--r-- ./usr/share/icons/hicolor/16x16/apps/zel.png" \
             "-rw-r--r-- ./usr/share/icons/hicolor/256x256/apps/zel.png"; do
  grep -qxF -- "$entry" "$work/contents" || fail "the package lacks $entry"
done
# Nothing built only for the tests travels along.
if grep -E 'gallery|player|bench|test|window-shot' "$work/contents"; then fail "test programs in the package"; fi

field() { dpkg-deb -f "$deb" "$1"; }
[ "$(field Package)" = zel ] || fail "Package: $(field Package)"
[ "$(field Version)" = "$version" ] || fail "Version: $(field Version)"
[ "$(field Section)" = video ] || fail "Section: $(field Section)"
depends=", $(field Depends),"
for package in ffmpeg qt6-qpa-plugins libc6 libstdc++6 libqt6core6 libqt6widgets6 libqt6dbus6 libmpv2; do
  [[ "$depends" == *", $package"[\ ,]* ]] || fail "Depends lacks $package: $depends"
done
recommends=$(field Recommends)
for package in mkvtoolnix mencoder fonts-wqy-microhei; do
  [[ "$recommends" == *"$package"* ]] || fail "Recommends lacks $package: $recommends"
done
# Stripped: no debugging sections in the programs.
dpkg-deb -x "$deb" "$work/tree"
if readelf -S "$work/tree/usr/bin/zel" | grep -q '\.debug_info'; then fail "zel is not stripped"; fi

[ "$failures" -eq 0 ] && echo "package ok: $(basename "$deb")"
exit "$failures"
