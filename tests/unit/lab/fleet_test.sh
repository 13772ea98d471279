#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# A small rack's whole day: every notification reaches both receivers' sockets, and
# the picture is drawn. Then what lab/fleet and lab/bus say of wrong options.
# The daemons' pauses end at once, by the clock of the end-to-end tests.
# Arguments: the repository's root, the build directory, the clock.
set -u
root=$1
build=$2
clock=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

wrong() {
  echo "FAILED $*"
  failures=$((failures + 1))
}

# expect TEXT COMMAND...: status 2 and one line on standard error.
expect() {
  local text=$1 got
  shift
  "$@" >"$work/out" 2>"$work/err" </dev/null
  got=$?
  if [ "$got" != 2 ] || [ "$(cat "$work/err")" != "$text" ]; then
    wrong "$*: status $got: $(cat "$work/err")"
  fi
}

hosts=3 burst=2 flood=100
"$root/lab/fleet" "$hosts" --burst "$burst" --flood "$flood" --build "$build" \
  --preload "$clock" --plot "$work/day.png" --samples "$work/samples" >"$work/day.txt" 2>&1 || wrong "lab/fleet: status $?"
# One restart and one burst of every host, and the flood.
all=$((hosts + hosts * burst + flood))
for receiver in 192.0.2.7 198.51.100.9; do
  grep -Eq "^$receiver +$all +0 +0 +0 +[0-9]+$" "$work/day.txt" || wrong "$receiver did not receive $all"
done
grep -q "^$all notifications of $hosts hosts, $((2 * all)) datagrams" "$work/day.txt" || wrong "totals"
[ "$(head -c 4 "$work/day.png" | tail -c 3)" = PNG ] || wrong "no picture"
[ "$(grep -c '^# phase' "$work/samples")" = 4 ] || wrong "not four phases"
[ "$(tail -n 1 "$work/samples" | cut -f 3,5,8)" = "$all	$all	$all" ] || wrong "the last sample"
[ "$failures" = 0 ] || cat "$work/day.txt"

expect "fleet: how many hosts? (see --help)" "$root/lab/fleet"
expect "fleet: one number of hosts only: 4" "$root/lab/fleet" 3 4
expect "fleet: unknown option: --bogus (see --help)" "$root/lab/fleet" --bogus
expect "fleet: --flood needs a value (see --help)" "$root/lab/fleet" 3 --flood
expect "fleet: not built: $work/daemon/tvurev" "$root/lab/fleet" 3 --build "$work"
expect "fleet: hosts: Value 0 not in range 1 to 10000" "$root/lab/fleet" 0 --build "$build"
expect "bus: unknown option: --bogus (see --help)" "$root/lab/bus" --bogus
expect "bus: not a number from 1 to 500: 501" "$root/lab/bus" --count 501
expect "bus: not built: $work/daemon/tvurev" "$root/lab/bus" --build "$work"
"$root/lab/fleet" --help | grep -q '^Usage: lab/fleet' || wrong "lab/fleet --help"
"$root/lab/bus" --help | grep -q '^Usage: lab/bus' || wrong "lab/bus --help"
exit $((failures > 0))
