#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# lab/run shows traps by the names of the sample MIB, and of a maker's with --mibs.
# Arguments: the repository's root and the build directory.
set -eu
root=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/one.scenario" <<'SCENARIO'
expect hello
expect connect
notify 1.3.6.1.4.1.32473.1.0.3 1.3.6.1.4.1.32473.1.1.3=integer:3 1.3.6.1.4.1.32473.9.1=integer:7
expect drained
SCENARIO
mkdir "$work/mibs"
cat >"$work/mibs/VENDOR-MIB.txt" <<'MODULE'
VENDOR-MIB DEFINITIONS ::= BEGIN
IMPORTS enterprises, OBJECT-TYPE, Integer32 FROM SNMPv2-SMI;
vendor OBJECT IDENTIFIER ::= { enterprises 32473 9 }
vendorValue OBJECT-TYPE
    SYNTAX Integer32
    MAX-ACCESS accessible-for-notify
    STATUS current
    DESCRIPTION "A value."
    ::= { vendor 1 }
END
MODULE

# shows TEXT OPTION...: the timeline has this text.
shows() {
  local text=$1
  shift
  "$root/lab/run" --build "$build" "$@" "$work/one.scenario" >"$work/out" 2>&1 </dev/null || {
    cat "$work/out"
    echo "FAILED lab/run $*"
    exit 1
  }
  grep -qF -- "$text" "$work/out" || {
    cat "$work/out"
    echo "FAILED lab/run $*: $text"
    exit 1
  }
}

shows 'TVUREV-DEMO-MIB::tvurevDemo Enterprise Specific Trap (TVUREV-DEMO-MIB::fanFailed)'
shows 'VENDOR-MIB::vendorValue = INTEGER: 7' --mibs "$work/mibs"
echo "names as expected"
