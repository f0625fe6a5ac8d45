#!/usr/bin/env bash
# Installs the Debian packages Tarko builds and tests with; does nothing for
# packages already present. Run as root (or with sudo available).
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libsdl2-dev libopenal-dev libfluidsynth-dev fluid-soundfont-gm libstb-dev zlib1g-dev libassimp-dev
  libjpeg62-turbo-dev libgif-dev
  libimgui-dev
  xvfb xauth
  libegl1 libegl-mesa0 libgl1 libgl1-mesa-dri libegl-dev libgl-dev
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  SUDO=""
  if [[ $(id -u) -ne 0 ]]; then SUDO="sudo"; fi
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
