#!/usr/bin/env bash
# The installed tree: `cmake --install` into a fresh prefix, then every file a
# desktop reads checked by the desktop's own validators, the icons at their
# sizes, and the installed programs run from there, finding the installed pack.
# Usage: CheckInstallTree.sh BUILD-DIR
set -euo pipefail

build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/usr
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

cmake --install "$build" --prefix "$prefix" >/dev/null

share=$prefix/share
for file in bin/zel bin/zel-cli share/zel/ZEL.pfs share/doc/zel/README.md \
            share/applications/zel.desktop share/applications/zel-subtitles.desktop \
            share/metainfo/org.calder.zel.metainfo.xml share/mime/packages/zel.xml \
            share/icons/hicolor/scalable/apps/zel.svg; do
  [ -s "$prefix/$file" ] || fail "$file is not installed"
done
for program in zel zel-cli; do
  [ -x "$prefix/bin/$program" ] || fail "bin/$program is not executable"
done

for entry in "$share"/applications/*.desktop; do
  desktop-file-validate "$entry" || fail "$(basename "$entry") does not validate"
  # What the entry starts and shows must be in the tree.
  exec_program=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$entry" | sort -u)
  for program in $exec_program; do
    [ -x "$prefix/bin/$program" ] || fail "$(basename "$entry") starts $program, which is not installed"
  done
  [ "$(sed -n 's/^Icon=//p' "$entry")" = zel ] || fail "$(basename "$entry") shows another icon than zel"
done
appstreamcli validate --no-net "$share/metainfo/org.calder.zel.metainfo.xml" ||
  fail "the metainfo does not validate"
launchable=$(sed -n 's:.*<launchable type="desktop-id">\(.*\)</launchable>.*:\1:p' "$share/metainfo/org.calder.zel.metainfo.xml")
[ -f "$share/applications/$launchable" ] || fail "the metainfo launches '$launchable', which is not installed"

# The types of our own must be valid for the MIME database and opened by the
# subtitle editor's entry.
cp -r "$share/mime" "$work/mime"
XDG_DATA_DIRS=$work update-mime-database "$work/mime" 2>"$work/mime.err" || fail "update-mime-database: $(cat "$work/mime.err")"
[ ! -s "$work/mime.err" ] || fail "update-mime-database complains: $(cat "$work/mime.err")"
editor_types=$(sed -n 's/^MimeType=//p' "$share/applications/zel-subtitles.desktop")
for type in $(sed -n 's/.*<mime-type type="\([^"]*\)".*/\1/p' "$share/mime/packages/zel.xml"); do
  [ -f "$work/mime/$type.xml" ] || fail "the MIME database did not take $type"
  [[ ";$editor_types" == *";$type;"* ]] || fail "the subtitle editor's entry does not open $type"
done
[[ ";$(sed -n 's/^MimeType=//p' "$share/applications/zel.desktop")" == *";video/mp4;"*";audio/mpeg;"* ]] ||
  fail "zel.desktop does not open video/mp4 and audio/mpeg"

# A PNG's width and height are the big-endian words at bytes 16 and 20.
png_size() { od -An -tu1 -j16 -N8 "$1" | awk '{ printf "%dx%d", $1*16777216+$2*65536+$3*256+$4, $5*16777216+$6*65536+$7*256+$8 }'; }
for size in 16 32 48 64 128 256; do
  icon=$share/icons/hicolor/${size}x${size}/apps/zel.png
  if [ -f "$icon" ]; then
    [ "$(png_size "$icon")" = "${size}x${size}" ] || fail "$icon is $(png_size "$icon")"
  else
    fail "no ${size}x${size} icon"
  fi
done

# The installed programs, with a store of their own, nothing beside them but
# each other: the profiles come from share/zel.
export XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data XDG_CACHE_HOME=$work/cache
installed=$("$prefix/bin/zel-cli" profiles list) || fail "the installed zel-cli failed"
built=$("$build/bin/zel-cli" profiles list)
[ -n "$built" ] && [ "$installed" = "$built" ] || fail "the installed zel-cli lists other profiles than the built one"

# The window from the tree, off screen, closed once it has painted. Without
# the start's tip panel, which a close would only fold away.
"$prefix/bin/zel-cli" settings set ShowTip 否 >/dev/null || fail "the installed zel-cli cannot set a setting"
ZEL_REPORT_FIRST_PAINT=$work/paint ZEL_QUIT_AFTER_FIRST_PAINT=1 QT_QPA_PLATFORM=offscreen \
  timeout 60 "$prefix/bin/zel" >"$work/zel.log" 2>&1 || fail "the installed zel did not start: $(tail -5 "$work/zel.log")"
[ -s "$work/paint" ] || fail "the installed zel never painted its window"

[ "$failures" -eq 0 ] && echo "install tree ok"
exit "$failures"
