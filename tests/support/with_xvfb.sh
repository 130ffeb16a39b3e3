#!/usr/bin/env bash
# with_xvfb.sh COMMAND...: runs COMMAND on a virtual display of its own.
# Xvfb chooses a free display itself (-displayfd) and says which once it
# accepts clients, so tests started together never share or race for one the
# way xvfb-run -a does.
set -euo pipefail
fifo_dir=$(mktemp -d)
trap 'kill "$xvfb" 2>/dev/null || true; wait "$xvfb" 2>/dev/null || true; rm -rf "$fifo_dir"' EXIT
mkfifo "$fifo_dir/display"
Xvfb -displayfd 3 -screen 0 1280x720x24 -nolisten tcp 3>"$fifo_dir/display" 2>"$fifo_dir/log" &
xvfb=$!
if ! read -r -t 30 number <"$fifo_dir/display"; then
  echo "with_xvfb: Xvfb did not start" >&2
  cat "$fifo_dir/log" >&2
  exit 1
fi
DISPLAY=":$number" "$@"
