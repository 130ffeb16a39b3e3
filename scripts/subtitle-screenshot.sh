#!/usr/bin/env bash
# The README's picture of the subtitle editor: the real `zel --subtitles` with
# a generated clip and a two-line subtitle, grabbed from a virtual display
# (Mesa's software OpenGL) with ffmpeg's x11grab after the clip has played a
# few seconds.
# Usage: scripts/subtitle-screenshot.sh [BUILD-DIR] [OUT.png]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build}
out=$(realpath -m "${2:-$root/docs/zel-subtitles.png}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$(dirname "$out")"
ffmpeg -v error -nostdin -y -f lavfi -i "testsrc2=size=640x360:rate=25:duration=8" -f lavfi \
  -i "sine=frequency=440:duration=8" -shortest -pix_fmt yuv420p -c:v libx264 -c:a aac "$work/clip.mp4"
printf '1\r\n00:00:01,500 --> 00:00:03,000\r\n第一句字幕\r\n\r\n2\r\n00:00:04,000 --> 00:00:05,500\r\n第二句字幕\r\n\r\n' \
  > "$work/clip.srt"
cat > "$work/grab.sh" <<'INNER'
#!/usr/bin/env bash
"$1" --subtitles "$2/clip.mp4" "$2/clip.srt" > "$2/zel.log" 2>&1 &
zel=$!
sleep 5
ffmpeg -v error -nostdin -y -f x11grab -video_size 1000x640 -i "$DISPLAY" -frames:v 1 "$3"
kill "$zel"
INNER
chmod +x "$work/grab.sh"
XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data" QT_QPA_PLATFORM=xcb LIBGL_ALWAYS_SOFTWARE=1 \
  "$root/tests/support/with_xvfb.sh" "$work/grab.sh" "$build/bin/zel" "$work" "$out"
echo "wrote $out"
