#!/usr/bin/env bash
# Builds the subtitle readers' fuzz targets with clang and runs each briefly from
# its seed. Usage: scripts/fuzz.sh [BUILD_DIR] [SECONDS_PER_TARGET]
set -euo pipefail

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$top/build/fuzz}
seconds=${2:-5}

CC=clang CXX=clang++ cmake -S "$top/tests/fuzz" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$(nproc)"

status=0
for target in "$build"/fuzz_subtitle_*; do
  name=${target##*/fuzz_subtitle_}
  corpus="$build/corpus/$name"
  mkdir -p "$corpus"
  cp -n "$top/tests/fuzz/seeds/$name.seed" "$corpus/" 2>/dev/null || true
  echo "fuzzing the $name reader for ${seconds}s"
  if ! (cd "$build" && "$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=0 "$corpus" >"$build/$name.log" 2>&1); then
    echo "the $name reader failed; see $build/$name.log" >&2
    tail -40 "$build/$name.log" >&2
    status=1
  fi
done
exit $status
