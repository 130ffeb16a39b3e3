#!/usr/bin/env bash
# Installs what ZEL needs from Debian's packages, builds it, and then either starts
# it ("run") or runs the whole test suite ("test").
set -euo pipefail

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
mode=${1:-run}
build=${ZEL_BUILD_DIR:-$top/build}

install_missing() {
  local wanted=() missing=() p
  mapfile -t wanted < <(grep -Ev '^\s*(#|$)' "$top/scripts/packages.txt")
  for p in "${wanted[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  ((${#missing[@]} == 0)) && return 0
  echo "Installing: ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

build_all() {
  cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  cmake --build "$build" -j"$(nproc)"
}

case "$mode" in
  run)
    install_missing
    build_all
    exec "$top/scripts/demo.sh" "$build"
    ;;
  test)
    install_missing
    build_all
    ctest --test-dir "$build" --output-on-failure -j"$(nproc)" --timeout 600
    # The subtitle readers under libFuzzer, briefly, from their seeds.
    "$top/scripts/fuzz.sh" "$build/fuzz" "${ZEL_FUZZ_SECONDS:-5}"
    ;;
  *)
    echo "usage: scripts/setup.sh run|test" >&2
    exit 2
    ;;
esac
