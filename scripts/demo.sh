#!/usr/bin/env bash
# Installs what is missing, builds and runs the main demo: in a window when a
# display exists, otherwise off screen writing PNG frames to out/demo.
# Arguments pass through, e.g. scripts/demo.sh --headless --frames 300 --out /tmp/frames;
# the landscape is the first scene, --scene room the room of cubes.
set -euo pipefail
ROOT=$(cd "$(dirname "$0")/.." && pwd)
"$ROOT/scripts/setup.sh"
cmake -S "$ROOT" -B "$ROOT/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTARKO_BUILD_TESTS=OFF >/dev/null
cmake --build "$ROOT/build" --target tarko_demo
args=("$@")
if [[ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]]; then
  has_out=0
  for a in "${args[@]}"; do [[ "$a" == "--out" ]] && has_out=1; done
  ((has_out)) || args+=(--out "$ROOT/out/demo")
  has_headless=0
  for a in "${args[@]}"; do [[ "$a" == "--headless" ]] && has_headless=1; done
  ((has_headless)) || args+=(--headless)
fi
exec "$ROOT/build/examples/demo/tarko_demo" "${args[@]}"
