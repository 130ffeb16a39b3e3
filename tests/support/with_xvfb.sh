#!/usr/bin/env bash
# with_xvfb.sh COMMAND...: runs COMMAND on a virtual display of its own.
# xvfb-run -a and Xvfb -displayfd both take the lowest free number, so a test
# starting while another's server shuts down can get that number and lose its
# socket to the old server's clean-up. A random number far from the others,
# tried again when taken, avoids both. Without -noreset the server starts over
# whenever its last client leaves, and a client connecting in that moment
# (the accessibility bus lets go of its display early) is refused.
set -euo pipefail
work=$(mktemp -d)
xvfb=""
trap '[ -n "$xvfb" ] && { kill "$xvfb" 2>/dev/null; wait "$xvfb" 2>/dev/null; }; rm -rf "$work"' EXIT
mkfifo "$work/ready"
for _ in $(seq 1 20); do
  number=$((200 + RANDOM % 3000))
  Xvfb ":$number" -displayfd 3 -screen 0 1280x720x24 -nolisten tcp -noreset 3>"$work/ready" 2>"$work/log" &
  xvfb=$!
  # The server writes its number once it takes clients; one that finds the
  # number taken ends, and the read sees the pipe close empty.
  if read -r -t 30 told <"$work/ready" && [ "$told" = "$number" ]; then
    DISPLAY=":$number" "$@"
    exit $?
  fi
  wait "$xvfb" 2>/dev/null || true
  xvfb=""
done
echo "with_xvfb: no virtual display could be started" >&2
cat "$work/log" >&2
exit 1
