#!/usr/bin/env bash
# Builds the fuzz targets (the subtitle readers, the MP3 tag code) with clang and
# runs each briefly from its seed. Usage: scripts/fuzz.sh [BUILD_DIR] [SECONDS_PER_TARGET]
set -euo pipefail

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$top/build/fuzz}
seconds=${2:-5}

CC=clang CXX=clang++ cmake -S "$top/tests/fuzz" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$(nproc)"

status=0
for target in "$build"/fuzz_*; do
  [ -x "$target" ] && [ -f "$target" ] || continue
  name=${target##*/fuzz_}
  name=${name#subtitle_}
  corpus="$build/corpus/$name"
  mkdir -p "$corpus"
  cp -n "$top/tests/fuzz/seeds/$name.seed" "$corpus/" 2>/dev/null || true
  echo "fuzzing $name for ${seconds}s"
  if ! (cd "$build" && "$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=0 "$corpus" >"$build/$name.log" 2>&1); then
    echo "fuzzing $name failed; see $build/$name.log" >&2
    tail -40 "$build/$name.log" >&2
    status=1
  fi
done
exit $status
