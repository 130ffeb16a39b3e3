#!/usr/bin/env bash
# Shows the program working. With a display (X11 or Wayland) this is the main
# window with a generated sample clip in its task list; without one it is
# zel-cli on that clip: the tool identified, the clip probed, a conversion
# composed and followed live.
set -euo pipefail

build=${1:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build}
cli="$build/bin/zel-cli"
work=${XDG_CACHE_HOME:-$HOME/.cache}/zel-demo
mkdir -p "$work"

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  [ -f "$work/sample.mp4" ] || ffmpeg -v error -y -f lavfi -i testsrc=size=640x360:rate=25:duration=5 \
    -f lavfi -i sine=frequency=440:duration=5 -shortest -pix_fmt yuv420p "$work/sample.mp4"
  exec "$build/bin/zel" "$work/sample.mp4"
fi

ffmpeg=$(command -v ffmpeg)
echo "== zel-cli identify $ffmpeg"
"$cli" identify "$ffmpeg" | cut -c1-160

echo "== zel-cli formats: what this FFmpeg allows"
"$cli" formats | paste -sd' '

echo "== a 5-second sample clip"
"$ffmpeg" -v error -y -f lavfi -i testsrc=size=640x360:rate=25:duration=5 \
  -f lavfi -i sine=frequency=440:duration=5 -shortest -pix_fmt yuv420p "$work/sample.mp4"

echo "== zel-cli probe: what the clip holds"
"$cli" probe "$work/sample.mp4"

echo "== zel-cli command: the command a conversion to MKV composes, and what runs"
"$cli" command --format MKV --output "$work" "$work/sample.mp4" | cut -c1-200

echo "== zel-cli convert: the clip to MKV with the format's starting values"
"$cli" convert --format MKV --set FileExistsOverwrite=是 --set ConvertFinished=无 --output "$work" \
  "$work/sample.mp4" | grep -E '^output'

echo "== a task list: the clip whole, then cut from 1 s to 4 s into three parts"
"$cli" list save "$work/tasks.ini" "$work/sample.mp4" --cut 1 4 3 "$work/sample.mp4"
"$cli" list show "$work/tasks.ini"
"$cli" convert --format AVI --set FileExistsOverwrite=是 --set ConvertFinished=无 --output "$work/list" \
  "$work/sample.mp4" --cut 1 4 3 "$work/sample.mp4" | grep -E '^output'

echo "== zel-cli subtitle: a SubRip file to SubStation with the karaoke effect, and to LRC"
printf '%s\r\n' 1 '00:00:04,000 --> 00:00:07,000' 第一句歌词 '' 2 '00:00:08,000 --> 00:00:11,000' 第二句歌词 '' \
  3 '00:00:12,000 --> 00:00:15,000' 第三句歌词 '' > "$work/sample.srt"
"$cli" subtitle "$work/sample.srt" -o "$work/sample.ass" --karaoke 1 --overwrite | grep -E '^output'
grep '^Dialogue' "$work/sample.ass" | cut -c1-160
"$cli" subtitle "$work/sample.srt" -o "$work/sample.lrc" --overwrite | grep -E '^output'
cat "$work/sample.lrc"

echo "== zel-cli thumbs: a sheet of 2x2 frames of the clip, and one frame"
"$cli" thumbs "$work/sample.mp4" --matrix 2x2 --time-string -o "$work/sheet.jpg" | grep -E '^output'
"$cli" frame "$work/sample.mp4" --time 2.5 -o "$work/frame.png" | grep -E '^output'

# The main window is still being built; where a display exists, the drawn
# controls it will be made of open in their gallery.
gallery="$(dirname "$cli")/zel-gallery"
if [ -x "$gallery" ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  echo "== zel-gallery: every drawn control in each theme style"
  exec "$gallery"
fi
