# Sourced by the top-level commands: which Debian packages each of them needs, and how a missing one is installed.

packages_to_run="g++ cmake ninja-build pkg-config freeglut3-dev libglew-dev libglu1-mesa-dev libgl-dev libegl-dev libjpeg-dev libfreetype-dev
  fonts-ebgaramond fonts-inter fonts-dejavu-core
  libpng-dev librtmidi-dev libfluidsynth-dev libasound2-dev libjack-jackd2-dev libx11-dev timgm6mb-soundfont"
packages_for_demo="xvfb xauth xdotool imagemagick libgl1-mesa-dri"
packages_to_package="dpkg-dev file"
packages_to_test="$packages_to_run libgtest-dev xvfb xauth xdotool x11-xkb-utils libgl1-mesa-dri jackd2
  pulseaudio pulseaudio-utils midicsv imagemagick pngcheck libjpeg-turbo-progs admesh desktop-file-utils
  $packages_to_package"
packages_for_windows="g++-mingw-w64-x86-64-posix nasm make dpkg-dev wine wine64"
packages_to_bench="$packages_to_run libbenchmark-dev libglm-dev libturbojpeg0-dev libassimp-dev libtinyobjloader-dev
  libocct-modeling-data-dev libxtst-dev jackd2 jack-keyboard python3 xvfb xauth libgl1-mesa-dri"
packages_to_fuzz="$packages_to_run clang libclang-rt-14-dev"
packages_to_format="clang-format"

# install_missing PACKAGE...: installs those that are not there yet, saying which; calls nothing when none is missing.
install_missing() {
  local missing="" package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  if ! command -v apt-get >/dev/null; then
    echo "These packages are missing, and there is no apt-get to install them:$missing" >&2
    return 1
  fi
  local as_root=""
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Please install as root:$missing" >&2; return 1; }
    as_root=sudo
  fi
  echo "Installing:$missing" >&2
  local log
  log=$(mktemp)
  # The list of packages may never have been fetched on a fresh machine, and somebody else's may be out of reach.
  $as_root apt-get update >"$log" 2>&1 || true
  if $as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 install -y \
    --no-install-recommends $missing >>"$log" 2>&1; then
    rm -f "$log"
    return 0
  fi
  tail -n 20 "$log" >&2
  echo "Installing failed; the whole log is in $log" >&2
  return 1
}
