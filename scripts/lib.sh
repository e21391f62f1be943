# Functions for the scripts of this folder, which source this file: messages,
# package sets and the project's root.
# shellcheck shell=bash

ROOT="$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)"
PROGRAM="$(basename -- "$0")"

# say TEXT...: prints a message on standard error.
say() {
  printf '%s: %s\n' "$PROGRAM" "$*" >&2
}

# fail TEXT...: prints an error and ends the script with status 1.
fail() {
  say "error: $*"
  exit 1
}

# misuse TEXT...: prints an error in the script's arguments and ends the script
# with status 2. Not for a subshell: the script would end with status 1.
misuse() {
  say "error: $*; see --help"
  exit 2
}

# A command that fails ends the script with status 1, not with its own.
set -o errtrace
trap 'exit 1' ERR

# check_count NAME TEXT: ends the script unless the text is a whole number from 1.
check_count() {
  case "$2" in
    "" | 0* | *[!0-9]*) misuse "$1: \"$2\" is not a whole number from 1" ;;
  esac
}

# help_if_asked "$@": if the first argument is --help or -h, prints the comment
# at the head of the calling script and ends the script.
help_if_asked() {
  case "${1-}" in
    -h | --help)
      sed -n '2{/^#/!q}; 2,${/^#/!q; s/^# \{0,1\}//p}' "$0"
      exit 0
      ;;
  esac
}

# packages_of SET...: prints the packages of the sets, one per line.
packages_of() {
  local set names
  for set in "$@"; do
    names="$(sed -n "s/^$set:[[:space:]]*//p" "$ROOT/scripts/packages" | tr -s ' ' '\n')"
    [ -n "$names" ] || fail "no set \"$set\" in scripts/packages"
    printf '%s\n' "$names"
  done
}

# need SET...: installs the missing packages of the sets.
need() {
  "$ROOT/scripts/install-packages" "$@"
}

# needs_of PRESET: prints the package sets for building and testing a preset.
# Fails if there is no such preset.
needs_of() {
  case "$1" in
    release | debug) echo build test ;;
    asan) echo build test asan ;;
    coverage) echo build test coverage ;;
    armhf | armhf-time64) echo build armhf ;;
    fuzz) echo build fuzz ;;
    bench) echo build bench ;;
    *) return 1 ;;
  esac
}

# cpp_files: prints the paths of the project's C++ files, one per line, relative
# to the project's root.
cpp_files() {
  local room
  for room in platform services agent host bridge tests bench fuzz; do
    [ ! -d "$ROOT/$room" ] || (cd "$ROOT" && find "$room" -name '*.h' -o -name '*.cpp')
  done | sort
}
