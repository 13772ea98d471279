#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Completes some command lines as bash would.
#
#   completion_test.sh COMPLETION_FILE TVUREVCTL
set -eu
# shellcheck source=/dev/null
source "$1"
tool=$2

failures=0
expect() { # EXPECTED WORD...
  local expected=$1
  shift
  COMP_WORDS=("$tool" "$@")
  COMP_CWORD=$#
  COMPREPLY=()
  _tvurevctl
  if [ "${COMPREPLY[*]}" != "$expected" ]; then
    echo "\"$*\": got \"${COMPREPLY[*]}\", expected \"$expected\"" >&2
    failures=$((failures + 1))
  fi
}

expect "check" c
expect "status stop" st
expect "--no-bmc --no-probe" check --no
expect "bmc" stop b
expect "on off" debug o
expect "utils" debug on ut
expect "--receiver" test-trap --r
expect "on off" mode o
expect "/usr" report --output /us
[ "$failures" -eq 0 ]
