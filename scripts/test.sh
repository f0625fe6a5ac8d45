#!/usr/bin/env bash
# Installs what is missing, builds everything with warnings as errors, and runs
# every test: the address+undefined sanitizer build of the tests, the fuzz
# targets over their corpora, an out-of-tree host through find_package, the
# demo headless and under Xvfb, and finally the full test suite.
set -euo pipefail
ROOT=$(cd "$(dirname "$0")/.." && pwd)
JOBS=${JOBS:-$(nproc)}
"$ROOT/scripts/setup.sh"

echo "== sanitizer build (address, undefined)"
cmake -S "$ROOT" -B "$ROOT/build-asan" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTARKO_SANITIZE=ON \
  -DTARKO_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$ROOT/build-asan" -j "$JOBS"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir "$ROOT/build-asan" -j "$JOBS" --output-on-failure

if [[ -x "$ROOT/scripts/fuzz.sh" ]]; then
  echo "== fuzz targets over their corpora"
  "$ROOT/scripts/fuzz.sh"
fi

echo "== release build"
cmake -S "$ROOT" -B "$ROOT/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$ROOT/build" -j "$JOBS"

echo "== out-of-tree host through find_package(Tarko)"
rm -rf "$ROOT/build/stage" "$ROOT/build/consumer"
cmake --install "$ROOT/build" --prefix "$ROOT/build/stage" >/dev/null
cmake -S "$ROOT/tests/consumer" -B "$ROOT/build/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$ROOT/build/stage" >/dev/null
cmake --build "$ROOT/build/consumer"
"$ROOT/build/consumer/consumer"

echo "== demo, headless"
rm -rf "$ROOT/build/demo-headless"
env -u DISPLAY -u WAYLAND_DISPLAY "$ROOT/build/examples/demo/tarko_demo" --headless --frames 60 \
  --out "$ROOT/build/demo-headless"
test -s "$ROOT/build/demo-headless/console.png"
env -u DISPLAY -u WAYLAND_DISPLAY "$ROOT/build/examples/demo/tarko_demo" --scene room --headless --frames 30 \
  --out "$ROOT/build/demo-headless/room"
test -s "$ROOT/build/demo-headless/room/console.png"

echo "== level example, headless: the scripted walk is held back by the wall"
env -u DISPLAY -u WAYLAND_DISPLAY "$ROOT/build/examples/level/tarko_level" --headless --frames 60 \
  --out "$ROOT/build/level-headless"
test -s "$ROOT/build/level-headless/level_0059.png"

echo "== light-map example, headless"
"$ROOT/build/examples/lightmaps/tarko_lightmaps" --out "$ROOT/build/lightmaps"
test -s "$ROOT/build/lightmaps/lightmaps.png"

echo "== tarko-view on a generated X model"
rm -rf "$ROOT/build/x-sample"
"$ROOT/build/examples/x_viewer/tarko_x_viewer" --write-sample "$ROOT/build/x-sample"
"$ROOT/build/tools/tarko-view/tarko-view" info "$ROOT/build/x-sample/sample.x"
"$ROOT/build/tools/tarko-view/tarko-view" info "$ROOT/build/x-sample/sample_zip.x" --json
if "$ROOT/build/tools/tarko-view/tarko-view" info "$ROOT/build/x-sample/chequer.bmp"; then exit 1; fi   # not a model
"$ROOT/build/tools/tarko-view/tarko-view" render "$ROOT/build/x-sample/sample_bin.x" --out "$ROOT/build/x-sample/view.png" \
  --size 320x240 --yaw 40 --pitch 30
test -s "$ROOT/build/x-sample/view.png"
echo "== tarko-view on the project's 3DS seed files"
"$ROOT/build/tools/tarko-view/tarko-view" info "$ROOT/fuzz/corpus/threeds/two_objects.3ds"
"$ROOT/build/tools/tarko-view/tarko-view" info "$ROOT/fuzz/corpus/threeds/grid.3ds" --json
"$ROOT/build/tools/tarko-view/tarko-view" render "$ROOT/fuzz/corpus/threeds/grid.3ds" --out "$ROOT/build/x-sample/view_3ds.png" \
  --size 320x240 --yaw 30 --pitch 35
test -s "$ROOT/build/x-sample/view_3ds.png"
echo "== tarko-view on the project's studio and MD2 model seeds"
"$ROOT/build/tools/tarko-view/tarko-view" info "$ROOT/fuzz/corpus/mdl/walker.mdl"
"$ROOT/build/tools/tarko-view/tarko-view" render "$ROOT/fuzz/corpus/mdl/walker.mdl" --out "$ROOT/build/x-sample/view_mdl.png" \
  --size 320x240 --sequence walk --frame 4
test -s "$ROOT/build/x-sample/view_mdl.png"
"$ROOT/build/tools/tarko-view/tarko-view" play "$ROOT/fuzz/corpus/mdl/walker.mdl" --out "$ROOT/build/x-sample/play_mdl" \
  --size 160x120 --frames 8 --sequence 1
test -s "$ROOT/build/x-sample/play_mdl/frame_0007.png"
"$ROOT/build/tools/tarko-view/tarko-view" info "$ROOT/fuzz/corpus/md2/actor.md2"
"$ROOT/build/tools/tarko-view/tarko-view" play "$ROOT/fuzz/corpus/md2/actor.md2" --out "$ROOT/build/x-sample/play_md2" \
  --size 160x120 --frames 4 --sequence run
test -s "$ROOT/build/x-sample/play_md2/frame_0003.png"

if command -v xvfb-run >/dev/null; then
  echo "== demo in a window under Xvfb"
  rm -rf "$ROOT/build/demo-xvfb"
  xvfb-run -a -s "-screen 0 1024x768x24" "$ROOT/build/examples/demo/tarko_demo" --frames 60 \
    --out "$ROOT/build/demo-xvfb"
  test -s "$ROOT/build/demo-xvfb/console.png"
  # Screenshot of the window: the demo writes what its window shows.
  test -s "$ROOT/build/demo-xvfb/frame_0030.png"
  echo "window screenshot: $ROOT/build/demo-xvfb/frame_0030.png"
  echo "== device dialog in a window under Xvfb"
  rm -rf "$ROOT/build/dialog-xvfb"
  xvfb-run -a -s "-screen 0 1024x768x24" "$ROOT/build/examples/demo/tarko_demo" \
    --dialog="select Combo3 3; tick Check1; tick Check1; click Command1" --frames 30 --out "$ROOT/build/dialog-xvfb"
  # Screenshot of the dialog's window (written from its own present), then the run it started.
  test -s "$ROOT/build/dialog-xvfb/dialog.png"
  test -s "$ROOT/build/dialog-xvfb/frame_0029.png"
  echo "dialog screenshot: $ROOT/build/dialog-xvfb/dialog.png"
fi

echo "== tests"
ctest --test-dir "$ROOT/build" -j "$JOBS" --output-on-failure
