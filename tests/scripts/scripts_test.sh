#!/usr/bin/env bash
# Usage: tests/scripts/scripts_test.sh PROJECT
#
# Runs copies of the scripts: all with wrong arguments, scripts/run with a build
# and a host that print their arguments, and scripts/test-packages with failures.
set -euo pipefail

FOLDER="$(mktemp -d)"
trap 'rm -rf "$FOLDER"' EXIT
FAILED=0

# expect STATUS OUTPUT SCRIPT ARGUMENT...: runs a script in the folder of the
# copies, and compares its status and what it prints with a pattern.
expect() {
  local status=0 printed
  printed="$("scripts/$3" "${@:4}" 2>&1)" || status=$?
  # shellcheck disable=SC2053 # a pattern
  if [ "$status" -ne "$1" ] || [[ "$printed" != $2 ]]; then
    printf '%s: status %s, expected %s\n%s\nis not\n%s\n' "${*:3}" "$status" "$1" "$printed" "$2"
    FAILED=1
  fi
}

refuses_wrong_arguments() {
  local script
  for script in scripts/*; do
    if [ ! -x "$script" ] || [ "$script" = scripts/run ]; then continue; fi
    script="${script#scripts/}"
    refuses "$script" --no-such-option 1 2
  done
  refuses bench chekc
  refuses build relase
  refuses build tidy
  refuses format --chekc
  refuses fuzz
  refuses fuzz none
  refuses fuzz all 0
  refuses install-packages
  refuses install-packages build '.*'
  refuses package amd64
  refuses run --replay twice
  refuses simulate ten
  refuses simulate 1 x
  refuses soak 1 0
  refuses test release relase
  refuses tidy scripts/lib.sh
  refuses test-packages none
  refuses tidy none.cpp
  refuses torture-saves 1.5
}

# refuses SCRIPT ARGUMENT...: expects one line and status 2.
refuses() {
  expect 2 "$1: error: *([!"$'\n'"]); see --help" "$@"
}

hands_its_arguments_to_the_host() {
  local state="$PWD/build/hotel/state.xml" build
  build="cmake --build --preset release --parallel $(nproc) --target guest-services-host"
  expect 0 "cmake --preset release -DBUILD_TESTING=OFF"$'\n'"$build"$'\n'"host run --state $state" run
  expect 0 "$build"$'\n'"host run --state $state --listen 127.0.0.1:9000" run --listen 127.0.0.1:9000
  expect 0 "$build"$'\n'"host run --verbose --state my.xml" run --verbose --state my.xml
  expect 0 "$build"$'\n'"host run --state=my.xml" run --state=my.xml
  expect 0 "$build"$'\n'"host replay --update a b" run replay --update a b
  expect 0 "$build"$'\n'"host --help" run -- --help
  expect 0 "$build"$'\n'"host replay --show $PWD/scenarios/hotel-day.txt" run --replay
  cmp build/hotel/state.xml host/sample-hotel.xml || FAILED=1
}

# stub FILE: makes a program of the standard input.
stub() {
  (echo '#!/bin/sh' && cat) >"$1"
  chmod +x "$1"
}

ends_with_the_first_failure() {
  stub scripts/install-packages </dev/null
  stub scripts/package <<<'exit 1'
  expect 1 "*part lint"$'\n'"test-packages: error: could not make the packages" test-packages lint
  stub scripts/package </dev/null
  stub bin/dpkg-deb </dev/null
  # shellcheck disable=SC2016 # for the stub
  stub bin/qemu-arm <<<'case "$*" in *replay*) exit 3 ;; esac'
  expect 1 "test-packages: part armhf" test-packages armhf
}

cp -r "$1/scripts" "$FOLDER"
mkdir -p "$FOLDER"/{host,build/release/bin,bin}
cp "$1/host/sample-hotel.xml" "$FOLDER/host"
cd "$FOLDER"
# shellcheck disable=SC2016 # for the stub
stub bin/cmake <<<'echo "cmake $*"; : >build/release/build.ninja'
# shellcheck disable=SC2016
stub build/release/bin/guest-services-host <<<'echo "host $*"'
PATH="$PWD/bin:$PATH"
shopt -s extglob

refuses_wrong_arguments
hands_its_arguments_to_the_host
ends_with_the_first_failure
exit "$FAILED"
