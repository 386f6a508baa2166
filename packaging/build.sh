# Sourced by the top-level commands: configuring and building a preset.

. "${BASH_SOURCE[0]%/*}/progress.sh"

# configure PRESET [OPTION...]
configure() {
  quietly "Configuring $1" configure_or_start_afresh "$@"
}

# The tree may come from another place or an older toolchain; then it is started afresh.
configure_or_start_afresh() {
  cmake --preset "$@" >/dev/null 2>&1 || cmake --fresh --preset "$@"
}
