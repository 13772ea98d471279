#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The sample MIB is without a complaint at the lint's strictest level, and has a
# name for everything that the demo's BMC sends.
# Argument: the repository's root.
set -eu
root=$1
mibs=$root/lab/mibs
failures=0
fail() {
  echo "FAILED $*"
  failures=$((failures + 1))
}

# It says "0" whatever it finds: what it prints counts.
lint() { SMIPATH=$mibs smilint -c /dev/null -l 6 -s "$1" 2>&1; }
complaints=$(lint "$mibs/TVUREV-DEMO-MIB.txt")
[ -z "$complaints" ] || fail "$complaints"

damaged=$(mktemp)
trap 'rm -f "$damaged"' EXIT
sed 's/STATUS      current/STATUS      mandatory/' "$mibs/TVUREV-DEMO-MIB.txt" >"$damaged"
[ -n "$(lint "$damaged")" ] || fail "the lint takes a damaged MIB"

names=0
oids() { grep -oE '1\.3\.6\.1\.4\.1\.32473\.1\.[0-9.]*[0-9]' "$root/lab/scenarios/main.scenario"; }
while read -r oid; do
  name=$(SNMPCONFPATH=/nonexistent snmptranslate -M "$mibs" -m ALL "$oid")
  # Without a name of its own it is that of its parent with a number.
  case $name in
  TVUREV-DEMO-MIB::*.*) fail "$oid has no name: $name" ;;
  TVUREV-DEMO-MIB::*) names=$((names + 1)) ;;
  *) fail "$oid has no name: $name" ;;
  esac
done < <(oids | sort -u)
[ "$names" -ge 11 ] || fail "only $names names were looked up"

[ "$failures" -eq 0 ] && echo "no complaints, $names names"
exit "$failures"
