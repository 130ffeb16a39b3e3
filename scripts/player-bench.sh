#!/usr/bin/env bash
# The player's benchmarks on a virtual X display with Mesa's software OpenGL:
# the control against the mpv program on the same 720p clip. Arguments after
# the build folder go to Google Benchmark (e.g. --benchmark_filter=Cpu).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build}
shift || true
exec "$root/tests/support/with_xvfb.sh" \
  env QT_QPA_PLATFORM=xcb LIBGL_ALWAYS_SOFTWARE=1 "$build/bin/zel_player_bench" "$@"
