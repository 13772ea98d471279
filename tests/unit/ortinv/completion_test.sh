#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Completes some command lines as bash would.
#
#   completion_test.sh COMPLETION_FILE ORTINV
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
  _ortinv
  if [ "${COMPREPLY[*]}" != "$expected" ]; then
    echo "\"$*\": got \"${COMPREPLY[*]}\", expected \"$expected\"" >&2
    failures=$((failures + 1))
  fi
}

folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
touch "$folder/table one" "$folder/other"

expect "smbios software" s
expect "address" bmc a
expect "--type" smbios --ty
expect "memory" smbios --type m
expect "memory" smbios --json -t m
expect "system-serial-number" smbios --string system-se
expect "on off" bmc mode o
expect "8" bmc interval 8
expect "8 9 10 --json --jsonl --timeout --help" bmc interval ""
expect "--json --jsonl --timeout --help" bmc interval 8 ""
expect "--write" entity-mib --w
expect "--json --jsonl" host --j
expect "--from-dump" --f
expect "pci" --json --timeout 5 p
expect "$folder/table one" smbios --from-dump "$folder/t"
expect "$folder/other" diff "$folder/table one" "$folder/o"
expect "" smbios --timeout ""
expect "" smbios --handle ""
[ "$failures" -eq 0 ]
