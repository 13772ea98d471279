#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Wrong options, files and scenarios of lab/run, lab/sandbox and mox-sim: one
# line that says what and where, and status 2. Starts no sandbox.
# Arguments: the repository's root and the build directory.
set -u
root=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# expect STATUS TEXT COMMAND...: the command's only line on standard error.
expect() {
  local status=$1 text=$2
  shift 2
  "$@" >"$work/out" 2>"$work/err" </dev/null
  local got=$?
  if [ "$got" != "$status" ] || [ "$(cat "$work/err")" != "$text" ]; then
    printf 'FAILED %s\n  expected %s: %s\n  got      %s: %s\n' "$*" "$status" "$text" "$got" "$(cat "$work/err")"
    failures=$((failures + 1))
  fi
}

run=$root/lab/run
sandbox=$root/lab/sandbox
sim=$build/lab/mox-sim
printf 'expect hello\n\nlogg x\n' >"$work/wrong.scenario"
printf 'KXHVM6\n' >"$work/wrong.nvram"
mkdir "$work/empty" "$work/bin"
ln -s "$(command -v dirname)" "$work/bin/dirname"

expect 2 "lab/run: unknown option: --bogus (see --help)" "$run" --bogus
expect 2 "lab/run: --build needs a value" "$run" --build
expect 2 "lab/run: --nvram: no such file: $work/none" "$run" --nvram "$work/none"
expect 2 "lab/run: --agent: no such file: $work/none" "$run" --agent "$work/none"
expect 2 "lab/run: --pcap needs a value" "$run" --pcap
expect 2 "mox-sim: $work/none/x.pcap: cannot write: No such file or directory" \
  "$sim" --channels "$work/empty" --pcap "$work/none/x.pcap"
expect 2 "lab/run: --mibs: no such folder: $work/none" "$run" --mibs "$work/none"
expect 2 "lab/run: no command after --" "$run" --
expect 2 "lab/run: one scenario only: b" "$run" a b
expect 2 "lab/run: not built: $work/empty/lab/mox-sim (./demo builds it)" "$run" --build "$work/empty"
expect 2 "lab/run: --host: no such folder: $work/none" "$run" --build "$build" --host "$work/none"
expect 2 "lab/run: no such scenario: $work/none" "$run" --build "$build" "$work/none"
expect 2 "mox-sim: $work/wrong.scenario:3: unknown event: logg" "$run" --build "$build" "$work/wrong.scenario"
expect 2 "mox-sim: $work/wrong.nvram:1: not a variable of the form NAME=HEX" \
  "$run" --build "$build" --nvram "$work/wrong.nvram"
expect 0 "" "$run" --help

expect 2 "sandbox: unknown option: --bogus (see --help)" "$sandbox" --bogus
expect 2 "sandbox: no command given (see --help)" "$sandbox" --
expect 2 "sandbox: --bind needs a source and a destination" "$sandbox" --bind /tmp
expect 2 "sandbox: --host: no such file or folder: $work/none" "$sandbox" --host "$work/none" -- true
expect 2 "sandbox: bubblewrap is missing: run scripts/setup demo" \
  env PATH="$work/bin" "$BASH" "$sandbox" -- true
expect 0 "" "$sandbox" --help

expect 2 "mox-sim: $work/none: cannot read: No such file or directory" "$sim" --check "$work/none"
expect 2 "mox-sim: $work/none/zemox-d0ccb0: cannot serve the channel: No such file or directory" \
  "$sim" --channels "$work/none"
expect 1 "mox-sim: stdin:1: unknown event: bogus" sh -c "echo bogus | '$sim' --channels '$work/empty'"
expect 1 "mox-sim: $work/late:1: did not happen in time: expect hello limit=0" \
  sh -c "echo 'expect hello limit=0' >'$work/late'; '$sim' --channels '$work/empty' '$work/late'"

for scenario in "$root"/lab/scenarios/*.scenario; do
  expect 0 "" "$sim" --check "$scenario"
done

# The shim must put nothing but its own calls before those of other programs.
exports=$(nm -D --defined-only "$build/lab/libmoxshim.so" | cut -d' ' -f3 | sort | tr '\n' ' ')
if [ "$exports" != "__open64_2 __open_2 __recv_chk ioctl open open64 recv write " ]; then
  echo "FAILED the shim exports: $exports"
  failures=$((failures + 1))
fi

[ "$failures" -eq 0 ] && echo "all messages are as they should be"
exit "$failures"
