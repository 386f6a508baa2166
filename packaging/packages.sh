# Sourced by the top-level commands: which Debian packages each of them needs, and how a missing one is installed.

packages_to_run="g++ cmake ninja-build pkg-config freeglut3-dev libglew-dev libglu1-mesa-dev libgl-dev libegl-dev libjpeg-dev libfreetype-dev
  fonts-ebgaramond fonts-inter fonts-dejavu-core
  libpng-dev libassimp-dev librtmidi-dev libfluidsynth-dev libasound2-dev libjack-jackd2-dev libx11-dev timgm6mb-soundfont"
packages_for_demo="xvfb xauth xdotool imagemagick libgl1-mesa-dri"
packages_to_package="dpkg-dev file"
packages_to_check_packages="lintian appstream desktop-file-utils"
packages_to_test="$packages_to_run libgtest-dev xvfb xauth xdotool x11-xkb-utils libgl1-mesa-dri jackd2
  pulseaudio pulseaudio-utils midicsv imagemagick pngcheck libjpeg-turbo-progs admesh
  $packages_to_package $packages_to_check_packages"
packages_for_windows="g++-mingw-w64-x86-64-posix nasm make dpkg-dev"
packages_to_test_windows="$packages_for_windows wine wine64"
packages_to_bench="$packages_to_run libbenchmark-dev libglm-dev libturbojpeg0-dev libtinyobjloader-dev
  libocct-modeling-data-dev libxtst-dev jackd2 jack-keyboard fluidsynth vmpk
  pulseaudio pulseaudio-utils libpulse-dev python3 xvfb xauth libgl1-mesa-dri"
packages_to_fuzz="$packages_to_run clang" # and the sanitizers of the clang that is there, which fuzz/run installs
packages_to_format="clang-format"

. "${BASH_SOURCE[0]%/*}/progress.sh"

# install_missing PACKAGE...: installs those that are not there yet, saying which; calls nothing when none is missing.
install_missing() {
  local missing=() package as_root=()
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  if ! command -v apt-get >/dev/null; then
    echo "These packages are missing, and there is no apt-get to install them: ${missing[*]}" >&2
    return 1
  fi
  if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
    # Here it may ask for a password; later its question would stand in the middle of other things.
    if ! command -v sudo >/dev/null || ! sudo true; then
      printf 'Packages are missing. As root, type:\n  apt-get install --no-install-recommends %s\n' "${missing[*]}" >&2
      return 1
    fi
  fi
  echo "Installing: ${missing[*]}" >&2
  quietly "Installing packages" install_packages "${missing[@]}" && return
  echo "Nothing was built, as these packages are missing: ${missing[*]}" >&2
  return 1
}

# JACK's small programs left jackd2 for a package of their own after Debian 12.
install_jack_programs() {
  command -v jack_lsp >/dev/null || install_missing jack-example-tools
}

# The lists of packages may be old, or never have been fetched on a fresh machine.
install_packages() {
  apt_install "$@" || { apt_get update || true; apt_install "$@"; }
}
apt_install() {
  apt_get install -y --no-install-recommends "$@"
}
apt_get() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive LC_ALL=C apt-get -o DPkg::Lock::Timeout=300 -o Acquire::Retries=0 \
    -o Acquire::http::Timeout=20 "$@"
}
