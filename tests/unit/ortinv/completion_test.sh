#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Completes some command lines as bash would.
#
#   completion_test.sh COMPLETION_FILE
set -eu
# shellcheck source=/dev/null
source "$1"

failures=0
expect() { # EXPECTED WORD...
  local expected=$1
  shift
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  COMPREPLY=()
  _ortinv
  if [ "${COMPREPLY[*]}" != "$expected" ]; then
    echo "\"$*\": got \"${COMPREPLY[*]}\", expected \"$expected\"" >&2
    failures=$((failures + 1))
  fi
}

expect "smbios software" ortinv s
expect "address" ortinv bmc a
expect "--type" ortinv smbios --t
expect "on off" ortinv bmc mode o
expect "--json --help 8 9 10" ortinv bmc interval ""
expect "--write" ortinv entity-mib --w
expect "--json" ortinv host --j
[ "$failures" -eq 0 ]
