#!/usr/bin/env bash
# Builds and runs the software device benchmark against Mesa llvmpipe at
# 640x480: for each scene ours, llvmpipe, the ratio and the difference of the
# two pictures. Usage: scripts/bench.sh [threads (default 2)] [seconds per figure]
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD="${TARKO_BENCH_BUILD:-$ROOT/build-bench}"
THREADS="${1:-2}"
SECONDS_EACH="${2:-2}"

# Mesa's EGL and GL (llvmpipe comes with the DRI package).
need=()
for p in libegl-dev libgl-dev libegl-mesa0 libgl1-mesa-dri; do
  dpkg -s "$p" >/dev/null 2>&1 || need+=("$p")
done
if ((${#need[@]})); then
  if [ "$(id -u)" = 0 ]; then
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}"
  else
    sudo apt-get update -qq && sudo DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}"
  fi
fi

# Release (-O3); warnings stay warnings here, as -O3 brings false positives in other folders.
cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTARKO_BUILD_BENCH=ON \
  -DTARKO_BUILD_TESTS=OFF -DTARKO_BUILD_EXAMPLES=OFF -DTARKO_WERROR=OFF >/dev/null
ninja -C "$BUILD" -j2 tarko_d3d_bench
# llvmpipe gets the same number of threads as our device.
LP_NUM_THREADS="$THREADS" "$BUILD/bench/tarko_d3d_bench" "$THREADS" "$SECONDS_EACH"
