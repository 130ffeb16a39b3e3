#!/usr/bin/env bash
# Shows the program working. Until the main window lands, this is zel-cli on a
# small generated clip: the tool identified, then a conversion followed live.
set -euo pipefail

build=${1:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build}
cli="$build/bin/zel-cli"
work=${XDG_CACHE_HOME:-$HOME/.cache}/zel-demo
mkdir -p "$work"

ffmpeg=$(command -v ffmpeg)
echo "== zel-cli identify $ffmpeg"
"$cli" identify "$ffmpeg" | cut -c1-160

echo "== zel-cli formats: what this FFmpeg allows"
"$cli" formats | paste -sd' '

echo "== a 5-second sample clip"
"$ffmpeg" -v error -y -f lavfi -i testsrc=size=640x360:rate=25:duration=5 \
  -f lavfi -i sine=frequency=440:duration=5 -shortest -pix_fmt yuv420p "$work/sample.mp4"

echo "== zel-cli exec: the clip to MPEG-4 Part 2 in AVI"
"$cli" exec --output "$work/sample converted.avi" \
  "\"$ffmpeg\" -hide_banner -nostdin -y -i \"$work/sample.mp4\" -c:v mpeg4 -q:v 3 -c:a libmp3lame \"$work/sample converted.avi\"" |
  grep -E '^(status [0-9] (Starting|Complete|Error|Canceled)|status 1 Processing frame|progress)'
echo "== output: $work/sample converted.avi"
