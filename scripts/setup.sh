#!/usr/bin/env bash
# Installs the Debian packages Halvoren needs to build, test and run.
# Idempotent and non-interactive: packages already present are left alone,
# and the package lists are refreshed at most once per run.
set -euo pipefail

packages=(
  build-essential
  cmake
  ninja-build
  pkg-config
  qt6-base-dev
  qcoro-qt6-dev
  nlohmann-json3-dev
  libgtest-dev
  libgmock-dev
  libbenchmark-dev
  libpulse-dev         # asks the sound server whether the microphone records
  fonts-inter          # the interface's typeface
  fonts-material-design-icons-iconfont  # the interface's symbols
  xvfb                 # scripts/screenshots.sh: a display with no screen,
  tint2                # a tray for the menu-bar item to sit in,
  x11-utils            # and xwd/xwininfo to capture windows
  imagemagick          # which converts the captures to PNG
  xdotool              # and clicks the tray item open
  clang-format
  clang-tidy
  clang                # the fuzz targets: libFuzzer is clang's
  libclang-rt-14-dev   # libFuzzer and the sanitizer runtimes for clang 14
  dpkg-dev             # scripts/check-package.sh: dpkg-shlibdeps for the package's dependencies,
  lintian              # Debian's package checks,
  desktop-file-utils   # desktop-file-validate,
  appstream            # and appstreamcli for the metainfo file
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all ${#packages[@]} packages already installed"
  exit 0
fi

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  sudo_cmd=(sudo)
fi

export DEBIAN_FRONTEND=noninteractive
echo "setup: installing ${missing[*]}"
"${sudo_cmd[@]}" apt-get update -q
"${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
