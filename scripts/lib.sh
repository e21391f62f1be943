# Shared by the scripts of this folder, which source it: where the project is,
# how to say things, and what the package sets hold.
# shellcheck shell=bash

ROOT="$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)"
PROGRAM="$(basename -- "$0")"

# say TEXT...: what is being done, on standard error.
say() {
  printf '%s: %s\n' "$PROGRAM" "$*" >&2
}

# fail TEXT...: says what went wrong and ends the script.
fail() {
  say "error: $*"
  exit 1
}

# help_if_asked "$@": if --help or -h comes first, prints the comment at the
# head of the calling script and ends it.
help_if_asked() {
  case "${1-}" in
    -h | --help)
      sed -n '2{/^#/!q}; 2,${/^#/!q; s/^# \{0,1\}//p}' "$0"
      exit 0
      ;;
  esac
}

# packages_of SET...: the packages of those sets, one a line.
packages_of() {
  local set names
  for set in "$@"; do
    names="$(sed -n "s/^$set:[[:space:]]*//p" "$ROOT/scripts/packages" | tr -s ' ' '\n')"
    [ -n "$names" ] || fail "no set \"$set\" in scripts/packages"
    printf '%s\n' "$names"
  done
}

# need SET...: installs what is missing of those sets.
need() {
  "$ROOT/scripts/install-packages" "$@"
}

# needs_of PRESET: the package sets that building and testing a preset needs.
needs_of() {
  case "$1" in
    release | debug) echo build test ;;
    asan) echo build test asan ;;
    armhf | armhf-time64) echo build armhf ;;
    tidy) echo build test tidy ;;
    fuzz) echo build fuzz ;;
    bench) echo build bench ;;
    *) fail "no preset \"$1\"; there are release, debug, asan, armhf, armhf-time64, tidy, fuzz, bench" ;;
  esac
}

# cpp_files: the C++ files of the project, one a line, below the project's root.
cpp_files() {
  local room
  for room in platform services agent host tests bench fuzz; do
    [ ! -d "$ROOT/$room" ] || (cd "$ROOT" && find "$room" -name '*.h' -o -name '*.cpp')
  done | sort
}
