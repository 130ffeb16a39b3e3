#!/usr/bin/env bash
# The README's picture of the main window: three generated clips added to a
# fresh settings store, the first one paused in the preview, on a virtual
# display with Mesa's software OpenGL.
# Usage: scripts/window-screenshot.sh [BUILD-DIR] [OUT.png]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build}
out=${2:-$root/docs/zel-window.png}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$(dirname "$out")" "$work/videos"
clip() {
  ffmpeg -v error -nostdin -y -f lavfi -i "$1=size=640x360:rate=25:duration=6" -f lavfi \
    -i "sine=frequency=$2:duration=6" -shortest -pix_fmt yuv420p -c:v mpeg4 -c:a aac "$work/videos/$3"
}
clip testsrc2 440 "旅行 2026.mp4"
clip smptebars 660 "会议录像.mkv"
clip rgbtestsrc 550 "holiday clip.avi"
XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data" QT_QPA_PLATFORM=xcb LIBGL_ALWAYS_SOFTWARE=1 \
  "$root/tests/support/with_xvfb.sh" "$build/bin/zel-window-shot" "$out" "$work"/videos/*
echo "wrote $out"
