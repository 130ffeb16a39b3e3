#!/usr/bin/env bash
# The main window's benchmarks on a virtual X display: the real zel's first
# paint, 1 000 files dropped on the window and the GUI thread's longest stall.
# Arguments after the build folder go to Google Benchmark (e.g.
# --benchmark_filter=FirstPaint).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build}
shift || true
# A desktop has its session bus; without one Qt would start a bus daemon of its
# own at every start and the first paint would pay for it.
session=()
command -v dbus-run-session >/dev/null && session=(dbus-run-session --)
exec "$root/tests/support/with_xvfb.sh" "${session[@]}" \
  env QT_QPA_PLATFORM=xcb LIBGL_ALWAYS_SOFTWARE=1 "$build/bin/zel_window_bench" "$@"
