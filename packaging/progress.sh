# Sourced: how the top-level commands show what they are doing.

# quietly SAYING COMMAND...: one line on standard error says what is going on. On a terminal the newest line of the command's
# output follows it, and both make way for what comes next. If the command fails, its last lines are shown, and the cause
# and what to do about it where they are known.
quietly() {
  local saying=$1 log status=0 explanation lines=100
  shift
  log=$(mktemp)
  if [ -t 2 ]; then
    "$@" 2>&1 | tee "$log" | show_newest "$saying" || status=${PIPESTATUS[0]}
  else
    echo "$saying" >&2
    "$@" >"$log" 2>&1 || status=$?
  fi
  if [ $status -ne 0 ]; then
    explanation=$(explain_failure "$log") || true
    [ -z "$explanation" ] || lines=5
    tail -n $lines "$log" >&2
    [ -z "$explanation" ] || echo "$explanation" >&2
  fi
  rm -f "$log"
  return $status
}

# Copies standard input to one line of the terminal, as far as it fits.
show_newest() {
  local saying=$1 line columns
  columns=$(stty size 2>/dev/null </dev/tty | cut -d ' ' -f 2) || true
  [ "${columns:-0}" -gt 0 ] || columns=80
  printf '%s' "${saying:0:columns - 1}" >&2
  while IFS= read -r line; do
    line="$saying: ${line##*$'\r'}"
    printf '\r\033[K%s' "${line:0:columns - 1}" >&2
  done
  printf '\r\033[K' >&2
}

# The cause of a failure that the output buries, and what to do about it.
explain_failure() {
  local place full=""
  for place in build . "${TMPDIR:-/tmp}"; do
    # Not every program says why it could not write.
    [ ! -e "$place" ] || [ "$(df -k --output=avail "$place" | tail -n 1)" -ge 16384 ] || full=yes
  done
  if [ -n "$full" ] || grep -q 'No space left on device' "$1"; then
    echo "The disk is full. Make room and start the command again. Free now:"
    df -h --output=avail,target build . "${TMPDIR:-/tmp}" 2>/dev/null | sort -u | grep -v Avail
  elif grep -qE 'Temporary failure resolving|Could not (resolve|connect)|Connection (timed out|failed)|Network is unreachable' "$1"; then
    echo "The package server cannot be reached. Is there a network?"
  elif grep -q 'dpkg was interrupted' "$1"; then
    echo "An earlier installation was interrupted. As root, type:  dpkg --configure -a"
  elif grep -q 'fix-broken' "$1"; then
    echo "An earlier installation is incomplete. As root, type:  apt-get --fix-broken install"
  fi
}
