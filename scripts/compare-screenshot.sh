#!/usr/bin/env bash
# The README's picture of the compare view: the real `zel --compare` with a
# generated clip and a grey half-size encode of it, its split line pressed
# through the accessibility bus, grabbed from a virtual display (Mesa's
# software OpenGL) with ffmpeg's x11grab while both play.
# Usage: scripts/compare-screenshot.sh [BUILD-DIR] [OUT.png]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build}
out=$(realpath -m "${2:-$root/docs/zel-compare.png}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$(dirname "$out")"
ffmpeg -v error -nostdin -y -f lavfi -i "testsrc2=size=640x360:rate=25:duration=20" -f lavfi \
  -i "sine=frequency=440:duration=20" -shortest -pix_fmt yuv420p -c:v libx264 -c:a aac "$work/source.mp4"
ffmpeg -v error -nostdin -y -i "$work/source.mp4" -vf "scale=320:180,hue=s=0" -c:v mjpeg -c:a mp3 \
  "$work/output.mkv"
cat > "$work/grab.py" <<'INNER'
import os, subprocess, sys, time
sys.path.insert(0, sys.argv[4])
import pyatspi
from atspi_drive import app_named, find, press, wait_for
zel, work, out = sys.argv[1:4]
child = subprocess.Popen([zel, "--compare", work + "/source.mp4", work + "/output.mkv"])
try:
    app = wait_for("zel", lambda: app_named("zel"), 30)
    press(wait_for("the split button", lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, "分割线")))
    press(wait_for("the play button", lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, "播放/暂停")))
    time.sleep(3)
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-f", "x11grab", "-video_size", "1100x560",
                    "-i", os.environ["DISPLAY"], "-frames:v", "1", out], check=True)
finally:
    child.kill()
INNER
XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data" QT_QPA_PLATFORM=xcb LIBGL_ALWAYS_SOFTWARE=1 \
  QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 "$root/tests/support/with_xvfb.sh" dbus-run-session -- \
  /usr/bin/python3 "$work/grab.py" "$build/bin/zel" "$work" "$out" "$root/tests/gallery"
echo "wrote $out"
