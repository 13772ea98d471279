#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The static daemon on a bare host (tests/packaging/on_bare_host): its gates, exit
# statuses, signals and control files, as far as they need no BMC, and its memory.
set -u

daemon=/opt/ortdv/sbin/tvurev
tmp=/opt/ortdv/tmp
node=/vmfs/devices/zemox-d0ccb0

fail() {
  echo "FAILED: $*"
  exit 1
}

# For up to 20 s.
await() { # COMMAND...
  tries=400
  until "$@" 2>/dev/null; do
    tries=$((tries - 1))
    [ $tries -gt 0 ] || fail "never so: $*"
    busybox usleep 50000
  done
}

# A supported BMC is remembered, and the one that is there answers nothing: reverse
# mode counts as off, and the daemon waits for a restart.
start_waiting() {
  printf 'Mox6\r\n' >$tmp/moxstatus
  $daemon >/tmp/out &
  pid=$!
  await sleeps $pid
}

sleeps() {
  grep -q '^State:.S' "/proc/$1/status" && [ ! -s /tmp/out ]
}

mkdir -p $tmp /opt/ortdv/sockets

rm $node
$daemon >/tmp/out || fail "status $? without a driver"
[ ! -s /tmp/out ] || fail "output without a driver: $(cat /tmp/out)"
: >$node
echo "ok: ends with 0 without a driver"

$daemon >/tmp/out || fail "status $? without a BMC"
[ "$(cat /tmp/out)" = "ryn11 tvurev:  Server not supported." ] || fail "output without a BMC"
echo "ok: ends with 0 on an unsupported server"

printf 'Mox5\r\n' >$tmp/moxstatus
$daemon >/tmp/out || fail "status $? on another generation"
[ "$(cat /tmp/out)" = "ryn11 tvurev:  Server not supported." ] || fail "output on another generation"
echo "ok: believes moxstatus"

start_waiting
resident=$(sed -n 's/^VmRSS:[^0-9]*\([0-9]*\).*/\1/p' /proc/$pid/status)
anonymous=$(sed -n 's/^RssAnon:[^0-9]*\([0-9]*\).*/\1/p' /proc/$pid/status)
echo "static file: $resident KiB resident, $anonymous of them anonymous"
if [ "$resident" -gt 2560 ] || [ "$anonymous" -gt 307 ]; then fail "too much"; fi
kill $pid
wait $pid || fail "status $? after SIGTERM"
echo "ok: SIGTERM ends the wait with 0"

start_waiting
kill -HUP $pid
busybox usleep 100000
kill -9 $pid
wait $pid
[ $? -eq 137 ] || fail "SIGHUP ended it"
echo "ok: SIGHUP does nothing"

touch $tmp/tvurevrestart.text
status=0
$daemon >/tmp/out || status=$?
[ $status -eq 1 ] || fail "status $status at a restart request"
[ ! -e $tmp/tvurevrestart.text ] || fail "the restart file is left"
echo "ok: a restart request ends it with 1"
