# Sourced by the top-level commands: configuring and building a preset.

. "${BASH_SOURCE[0]%/*}/progress.sh"

# is_configured_here PRESET: whether its tree is there and is this checkout's.
is_configured_here() {
  [ -f "build/$1/build.ninja" ] && grep -qx "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "build/$1/CMakeCache.txt"
}

# configure PRESET [OPTION...]
configure() {
  local tree=build/$1 other part
  for part in build "$tree" "$tree/CMakeCache.txt" "$tree/build.ninja"; do
    [ ! -e "$part" ] || [ -w "$part" ] || {
      echo "$part belongs to $(stat -c %U "$part") and cannot be written. Please type: sudo rm -rf '$PWD/$tree'" >&2
      return 1
    }
  done
  other=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$tree/CMakeCache.txt" 2>/dev/null) || true
  if [ -n "$other" ] && [ "$other" != "$PWD" ]; then
    echo "$tree was made in $other; it is made afresh." >&2
    rm -rf "$tree"
  fi
  quietly "Configuring $1" configure_or_start_afresh "$@"
}

# The tree may come from an older toolchain; then it is started afresh.
configure_or_start_afresh() {
  cmake --preset "$@" >/dev/null 2>&1 || cmake --fresh --preset "$@"
}
