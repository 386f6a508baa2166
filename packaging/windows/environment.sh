#!/usr/bin/env bash
# What building and running the Windows program on Debian needs beside packages: the five libraries that it is
# linked with, built for Windows, and a Wine prefix. Both are made once and kept outside the checkout.
#
# Sourced, it offers prepare_windows_build and prepare_wine. Executed, it prepares the libraries and writes
# their directory to standard output, which is what the toolchain file asks for when nobody has done so yet.

windows_packaging=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# The directory for things that are expensive to make and may be deleted at any time.
cache_directory() {
  local home=${HOME:-$(getent passwd "$(id -u)" | cut -d: -f6)}
  echo "${XDG_CACHE_HOME:-${home:-/var/tmp}/.cache}/quenvarel"
}

# What a build of the libraries depends on: one line "source-package version" for each, in the versions that the
# native program is built with and in the order in which they are built, and one line for the compiler.
windows_library_versions() {
  dpkg-query -W -f='${source:Package} ${source:Version}\n' zlib1g-dev libpng-dev libjpeg62-turbo-dev libglew-dev \
    freeglut3-dev && echo "compiler $(x86_64-w64-mingw32-g++-posix -dumpfullversion)"
}

# Makes the libraries where they are missing and exports QUENVAREL_WINDOWS_LIBRARIES, their installation prefix.
prepare_windows_libraries() {
  local versions key
  versions=$(windows_library_versions) || return
  key=$(cat - "$windows_packaging/build-libraries" <<<"$versions" | sha256sum | cut -c1-16)
  export QUENVAREL_WINDOWS_LIBRARIES
  QUENVAREL_WINDOWS_LIBRARIES=$(cache_directory)/windows-libraries-$key
  [ -d "$QUENVAREL_WINDOWS_LIBRARIES" ] ||
    "$windows_packaging/build-libraries" "$QUENVAREL_WINDOWS_LIBRARIES" "$versions"
}

# Makes the Wine prefix where it is missing and exports what Wine reads: WINEPREFIX, WINEDEBUG, WINEDLLOVERRIDES.
# Programs of ours bring no .NET and no HTML, so Wine is not to ask for them.
# Programs that share a prefix share one desktop, with one foreground window, even from different displays; so each
# display gets a prefix of its own.
prepare_wine() {
  export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree=;mshtml=}
  WINEPREFIX=$(cache_directory)/wine-$(dpkg-query -W -f='${Version}' wine | tr -c 'A-Za-z0-9.\n' -) || return
  [ -d "$WINEPREFIX" ] || make_wine_prefix "$WINEPREFIX" || return
  local display=${DISPLAY:-}
  [ -n "$display" ] || return 0
  local own=$WINEPREFIX-display${display//[!0-9]/-}
  [ -d "$own" ] || copy_wine_prefix "$WINEPREFIX" "$own" || return
  WINEPREFIX=$own
}

# copy_wine_prefix FROM TO: with links to the same files, except for the registry, which Wine writes in place.
copy_wine_prefix() {
  local copy
  copy=$(mktemp -d "$2.XXXXXX") && cp -al "$1/." "$copy" && rm "$copy"/*.reg && cp -a "$1"/*.reg "$copy" || return
  mv -T "$copy" "$2" 2>/dev/null || rm -rf "$copy"
}

make_wine_prefix() {
  local finished=$1 log
  echo "Preparing Wine in $finished" >&2
  mkdir -p "$(dirname "$finished")" || return
  local WINEPREFIX
  WINEPREFIX=$(mktemp -d "$finished.XXXXXX") || return
  export WINEPREFIX
  log=$WINEPREFIX.log
  # -noreset: a server that loses its only client starts afresh and turns away who comes meanwhile.
  local display=(xvfb-run -a -s -noreset)
  # Without a window manager a managed window would wait for one when it closes.
  if "${display[@]}" wineboot -i >"$log" 2>&1 </dev/null &&
    "${display[@]}" wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >>"$log" 2>&1 </dev/null &&
    wineserver -w >>"$log" 2>&1; then
    # Whoever comes second leaves the first one's.
    mv -T "$WINEPREFIX" "$finished" 2>/dev/null || rm -rf "$WINEPREFIX"
    rm -f "$log"
    return 0
  fi
  wineserver -k 2>/dev/null
  rm -rf "$WINEPREFIX"
  tail -n 20 "$log" >&2
  echo "Preparing Wine failed; the whole log is in $log" >&2
  return 1
}

prepare_windows_build() {
  prepare_windows_libraries && prepare_wine
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
  prepare_windows_libraries && echo "$QUENVAREL_WINDOWS_LIBRARIES"
fi
