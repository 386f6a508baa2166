# Sourced by the top-level commands: configuring and building a preset, quiet unless it fails.

# configure PRESET [OPTION...]
configure() {
  # The tree may come from another place or an older toolchain; then it is started afresh.
  quietly cmake --preset "$@" 2>/dev/null || quietly cmake --fresh --preset "$@"
}

# quietly COMMAND...: shows what the command writes only if it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  [ $status -eq 0 ] || cat "$log" >&2
  rm -f "$log"
  return $status
}
