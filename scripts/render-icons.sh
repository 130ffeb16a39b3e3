#!/usr/bin/env bash
# The program's icon at each size the desktop's icon theme asks for, drawn from
# data/icons/zel.svg. The pictures are kept in the source tree so that building
# needs no SVG renderer; run this again after changing the drawing.
# Needs rsvg-convert (Debian: librsvg2-bin).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
for size in 16 32 48 64 128 256; do
  rsvg-convert -w "$size" -h "$size" "$root/data/icons/zel.svg" -o "$root/data/icons/zel-$size.png"
done
echo "wrote $root/data/icons/zel-{16,32,48,64,128,256}.png"
