#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The supervisor's rules, on a bare host (tests/packaging/on_bare_host) whose
# time is bent: "sleep" ends at once and moves what "date +%s" says. The daemon is
# a script that lives as a plan says.
#
# usage: supervisor_test.sh [CASE...]
# shellcheck disable=SC2317,SC2009,SC3023  # called by their names; busybox has both
set -u

supervisor=/opt/ortdv/sbin/tvurev-supervisor
daemon=/opt/ortdv/sbin/tvurev
init=/etc/init.d/tvurev
tmp=/opt/ortdv/tmp
state=$tmp/tvurevsupervisor.text
bent=/run/bent # time, sleeps, hold, plan, lives, log

# ---- A host whose time is bent

make_tool() { # PATH, text from standard input
  rm -f "$1"
  cat >"$1"
  chmod +x "$1"
}

mkdir -p $bent /etc/init.d
echo 1000000 >$bent/time
[ -e $init ] || cp /opt/ortdv/init $init
make_tool /bin/sleep <<'END'
#!/bin/sh
echo "$1" >>/run/bent/sleeps
while [ -e /run/bent/hold ]; do busybox usleep 2000; done
read -r now </run/bent/time
echo $((now + $1)) >/run/bent/time.new
busybox mv /run/bent/time.new /run/bent/time
END
make_tool /bin/date <<'END'
#!/bin/sh
[ "$*" = +%s ] || { echo "date $*" >>/run/bent/wrong; exit 1; }
cat /run/bent/time
END
make_tool /bin/logger <<'END'
#!/bin/sh
while [ -e /run/bent/log_stalls ]; do busybox usleep 2000; done
echo "$*" >>/run/bent/log
END
# Each life takes a line off the plan: "status N [SECONDS]", "signal N [SECONDS]",
# or one of the roles of the test's own. Without a plan it stays.
make_tool $daemon <<'END'
#!/bin/sh
cd /run/bent
echo life >>lives
read -r what number seconds <plan || what=stay
busybox sed -i 1d plan
read -r now <time
echo $((now + ${seconds:-0})) >time
umask >umask
echo "$PATH" >path
pwd -P >folder
ls -l /proc/$$/fd/ | busybox sed -n 's/.* \([0-9]* -> \)/\1/p' >descriptors.new
busybox mv descriptors.new descriptors
case $what in
status) exit "$number" ;;
signal) kill "-$number" $$ && busybox usleep 10000000 ;;
obedient) while [ ! -e /opt/ortdv/tmp/tvurevbmcstop.text ]; do busybox usleep 2000; done; exit 1 ;;
stubborn) trap '' TERM INT ;;
esac
while :; do busybox usleep 2000; done
END

# ---- What the cases say

case_name=
failures=0

fail() {
  echo "FAILED: $case_name: $*"
  failures=$((failures + 1))
}

equal() { # WHAT FOUND WANTED
  [ "$2" = "$3" ] || fail "$1: '$2' instead of '$3'"
}

# For up to 20 s of real time.
await() { # COMMAND...
  tries=4000
  until "$@" >/dev/null 2>&1; do
    tries=$((tries - 1))
    if [ $tries -eq 0 ]; then
      fail "never so: $*"
      return 1
    fi
    busybox usleep 5000
  done
}

plan() { # LINE...
  printf '%s\n' "$@" >$bent/plan
}

lives() {
  wc -l <$bent/lives
}

sleeps() {
  tr '\n' ' ' <$bent/sleeps
}

said() { # TEXT
  grep -qF -- "$1" $bent/log
}

field() { # NAME
  sed -n "s/^$1=//p" $state
}

field_is() { # NAME VALUE
  [ "$(field "$1")" = "$2" ]
}

# The lives of the plan, up to one that stays.
live_through() { # LINE...
  plan "$@"
  $init start >/dev/null
  await field_is starts $(($# + 1))
  await field_is state running
}

# How many processes have such a command line; busybox may write {name} before it.
processes() { # REGULAR-EXPRESSION
  ps -o args | grep -c -e "^$1" -e "^{.*} $1"
}

no_pause() {
  [ "$(processes "/bin/sh /bin/sleep")" = 0 ]
}

# Without the copies of themselves that shells make for a moment.
supervisors() {
  for folder in /proc/[0-9]*; do
    # shellcheck disable=SC2046  # words
    set -- $(sed 's/.*) //' "$folder/stat" 2>/dev/null)
    if [ "${4-}" = "${folder#/proc/}" ]; then tr '\000' ' ' <"$folder/cmdline"; fi
  done 2>/dev/null | grep -o "$supervisor run" | wc -l
}

no_process() {
  ! ps -o pid,comm,args | grep -v -e ' ps ' -e grep -e supervisor_test | grep -q tvurev
}

# A process of the daemon's name and command line, in a session of its own.
impersonate() { # KIND PLAN
  plan "$2"
  before=$(lives)
  case $1 in
  proxy) setsid $daemon </dev/null >&- 2>&- & ;;
  timer) setsid $daemon </dev/null >/dev/null 2>&1 & ;;
  first) $daemon </dev/null >/dev/null 2>&1 & ;;
  esac
  impersonated=$!
  await lived_more_than "$before"
}

lived_more_than() {
  [ "$(lives)" -gt "$1" ]
}

has_ended() { # PID
  ! kill -0 "$1" 2>/dev/null || grep -q '^State:.Z' "/proc/$1/status"
}

set_up() {
  rm -rf $bent/hold $bent/log_stalls $bent/wrong $bent/descriptors $tmp /opt/ortdv/sockets
  : >$bent/sleeps
  : >$bent/lives
  : >$bent/log
  : >$bent/plan
}

tear_down() {
  rm -f $bent/hold $bent/log_stalls
  $init stop >/dev/null
  await no_process
  [ ! -e $bent/wrong ] || fail "$(cat $bent/wrong)"
}

# ---- Pauses

case_status_1_starts_at_once_then_later_and_later() {
  live_through "status 1" "status 1" "status 1" "status 1" "status 1" "status 1" "status 1" \
    "status 1" "status 1"
  equal pauses "$(sleeps)" "1 2 4 8 16 32 60 60 "
}

case_status_0_is_tried_again_slowly() {
  live_through "status 0" "status 0" "status 0"
  equal pauses "$(sleeps)" "600 3600 3600 "
}

case_any_other_status_and_signal_waits_10_seconds() {
  live_through "status 2" "status 126" "status 127" "status 255" "signal 6" "signal 9" \
    "signal 11" "signal 15"
  equal pauses "$(sleeps)" "10 10 10 10 10 10 10 10 "
  said "ended with status 127 after 0 s; it is started again in 10 s" || fail "status in the log"
  said "ended with signal 11 after 0 s" || fail "signal in the log"
}

case_a_crash_loop_goes_on() {
  live_through "signal 11" "signal 11" "signal 11" "signal 11" "signal 11" "signal 11" \
    "signal 11" "signal 11" "signal 11" "signal 11" "signal 11" "signal 11" "status 1"
  equal pauses "$(sleeps)" "10 10 10 10 10 10 10 10 10 10 10 10 "
}

case_a_life_of_ten_minutes_is_forgiven() {
  live_through "status 1" "status 1" "status 1 599" "status 1 600" "status 1" \
    "status 0" "status 0 599" "status 0 600" "status 0" "signal 9 600" "status 0" "status 1"
  equal pauses "$(sleeps)" "1 2 1 600 3600 600 3600 10 600 "
}

case_the_causes_are_counted_apart() {
  live_through "status 1" "status 1" "signal 9" "status 1" "status 0" "status 1" "status 0"
  equal pauses "$(sleeps)" "1 10 2 600 4 3600 "
}

case_the_state_is_written() {
  touch $bent/hold
  plan "status 0 5"
  began=$(cat $bent/time)
  $init start >/dev/null
  await field_is state pausing
  equal until "$(field until)" $((began + 5 + 600))
  equal "last exit" "$(field last_exit)" 0
  equal starts "$(field starts)" 1
  equal daemon "$(field daemon)" ""
  rm $bent/hold
  await field_is starts 2
  kill -9 "$(field daemon)"
  await field_is starts 3
  await field_is state running
  equal "last signal" "$(field last_signal)" 9
  equal "last exit" "$(field last_exit)" ""
  equal until "$(field until)" ""
  grep -q tvurev-supervisor "/proc/$(field pid)/cmdline" || fail "pid"
}

# ---- What a life finds

case_directories_are_put_right() {
  mkdir -p $tmp /opt/ortdv/sockets/agentx
  chmod 0777 $tmp /opt/ortdv/sockets
  chmod 0700 /opt/ortdv/sockets/agentx
  live_through
  equal modes "$(stat -c '%u %a' $tmp /opt/ortdv/sockets /opt/ortdv/sockets/agentx | tr '\n' ' ')" \
    "0 755 0 755 0 700 "
  chmod 0700 $tmp
  kill -9 "$(field daemon)"
  await field_is starts 2
  equal "mode at the next start" "$(stat -c %a $tmp)" 755
}

case_directories_are_made() {
  touch /opt/ortdv/sockets
  live_through
  equal modes "$(stat -c '%u %a' $tmp /opt/ortdv/sockets | tr '\n' ' ')" "0 755 0 755 "
}

case_only_a_good_generation_is_kept() {
  mkdir -p $tmp
  printf 'Mox6\r\n' >$tmp/moxstatus
  live_through
  [ -f $tmp/moxstatus ] || fail "what the daemon writes was removed"
  next=2
  for kind in text number empty link folder fifo; do
    rm -rf $tmp/moxstatus
    case $kind in
    text) printf 'Mox6 \n' ;;
    number) printf 'Mox0\r\nMox6\r\n' ;;
    *) : ;;
    esac >$tmp/moxstatus
    case $kind in
    link) echo Mox6 >$bent/elsewhere && ln -sf $bent/elsewhere $tmp/moxstatus ;;
    folder) rm $tmp/moxstatus && mkdir -p $tmp/moxstatus/Mox6 ;;
    fifo) rm $tmp/moxstatus && mkfifo $tmp/moxstatus ;;
    esac
    kill -9 "$(field daemon)"
    await field_is starts $next
    if [ -e $tmp/moxstatus ] || [ -L $tmp/moxstatus ]; then fail "$kind was kept"; fi
    next=$((next + 1))
  done
  [ -f $bent/elsewhere ] || fail "the link was followed"
  echo Mox6 >$tmp/moxstatus
  kill -9 "$(field daemon)"
  await field_is starts $next
  [ -f $tmp/moxstatus ] || fail "Mox6 without a carriage return was removed"
}

case_the_daemon_gets_a_clean_place() {
  umask 077
  cd /tmp || exit 1
  PATH=/elsewhere:$PATH $init start >/dev/null 9>$bent/nine
  umask 022
  cd / || exit 1
  await field_is state running
  await test -s $bent/descriptors
  equal PATH "$(cat $bent/path)" /bin:/sbin:/usr/bin:/usr/sbin
  equal umask "$(cat $bent/umask)" 0022
  equal "standard streams" "$(grep -c '^[012] -> /dev/null' $bent/descriptors)" 3
  ! grep -q nine $bent/descriptors || fail "a descriptor of the caller's"
}

# ---- Commands

case_start_holds_nothing_of_its_caller() {
  mkfifo $bent/pipe
  cat $bent/pipe >$bent/output &
  reader=$!
  # Everything that start leaves open keeps the reader waiting.
  (exec 3>&1 7>&1 12>&1 && $init start) >$bent/pipe 2>&1
  equal status $? 0
  await has_ended $reader
  rm $bent/pipe
  grep -q "started, process" $bent/output || fail "start said '$(cat $bent/output)'"
  await field_is state running
  equal "session leader" "$(sed 's/.*) //' "/proc/$(field pid)/stat" | cut -d ' ' -f 4)" "$(field pid)"
  equal folder "$(readlink "/proc/$(field pid)/cwd")" /
}

case_start_twice_is_once() {
  live_through
  first=$(field pid)
  answer=$($init start)
  equal status $? 0
  equal answer "$answer" "tvurev-supervisor: runs already, process $first."
  equal process "$(field pid)" "$first"
  await lived_more_than 0
  equal lives "$(lives)" 1
}

case_many_starts_at_once_are_one() {
  mkdir -p $tmp
  ln -s 999999.1 $tmp/tvurevsupervisor.lock.7
  starters=
  for _ in 1 2 3 4 5 6; do
    $init start >/dev/null &
    starters="$starters $!"
  done
  # shellcheck disable=SC2086  # words
  wait $starters
  await field_is state running
  await lived_more_than 0
  equal supervisors "$(supervisors)" 1
  equal lives "$(lives)" 1
  equal locks "$(find $tmp -name 'tvurevsupervisor.lock.*' | wc -l)" 1
}

case_a_number_in_a_file_is_believed_only_when_it_is_ours() {
  mkdir -p $tmp
  busybox usleep 60000000 &
  stranger=$!
  born=$(sed 's/.*) //' /proc/$stranger/stat | cut -d ' ' -f 20)
  number=1
  for owner in "$stranger.$born" 1.0 nonsense "$stranger" 4194999.5 -1.0; do
    rm -rf ${tmp:?}/*
    ln -s -- "$owner" $tmp/tvurevsupervisor.lock.$number
    printf 'pid=%s\ndaemon=%s\n' $stranger $stranger >$state
    $init status >/dev/null
    equal "status, lock '$owner'" $? 3
    $init start >/dev/null
    equal "start, lock '$owner'" $? 0
    await field_is state running
    $init stop >/dev/null
  done
  ! has_ended $stranger || fail "a stranger was ended"
  kill $stranger
}

case_a_supervisor_of_another_birth_is_a_stranger() {
  live_through
  held=$(readlink $tmp/tvurevsupervisor.lock.*)
  rm $tmp/tvurevsupervisor.lock.*
  ln -s "${held%.*}.1" $tmp/tvurevsupervisor.lock.1
  $init status >/dev/null
  equal status $? 3
  rm $tmp/tvurevsupervisor.lock.*
  ln -s "$held" $tmp/tvurevsupervisor.lock.1
}

case_status_tells() {
  answer=$($init status)
  equal "status before" $? 3
  equal answer "$answer" "tvurev-supervisor: does not run."
  live_through
  $init status >$bent/answer
  equal "status while it runs" $? 0
  grep -qx state=running $bent/answer || fail "$(cat $bent/answer)"
  $init stop >/dev/null
  $init status >/dev/null
  equal "status afterwards" $? 3
  $init nonsense 2>/dev/null
  equal "status of another word" $? 2
}

case_restart_is_another_life() {
  live_through
  first=$(field pid)
  $init restart >/dev/null
  equal status $? 0
  await field_is state running
  [ "$(field pid)" != "$first" ] || fail "the same supervisor"
  await lived_more_than 1
  equal lives "$(lives)" 2
}

# ---- The end

case_stop_when_nothing_runs() {
  answer=$($init stop)
  equal status $? 0
  equal answer "$answer" "tvurev-supervisor: does not run."
}

case_stop_by_the_stop_file() {
  live_through_staying obedient
  $init stop >/dev/null
  equal status $? 0
  await no_process
  ! said "does not end" || fail "it was killed"
  [ ! -e $tmp/tvurevbmcstop.text ] || fail "a stop file is left"
}

# Into a life that the daemon's script has a word for.
live_through_staying() { # ROLE
  plan "$1"
  $init start >/dev/null
  await lived_more_than 0
  await field_is state running
}

case_stop_by_a_signal_after_ten_seconds() {
  live_through_staying stay
  before=$(cat $bent/time)
  $init stop >/dev/null
  await no_process
  now=$(cat $bent/time)
  [ $((now - before)) -ge 10 ] || fail "a signal after $((now - before)) s"
  [ $((now - before)) -le 15 ] || fail "the end after $((now - before)) s"
}

case_stop_by_force_within_thirty_seconds() {
  live_through_staying stubborn
  impersonate proxy stubborn
  proxy=$impersonated
  before=$(cat $bent/time)
  $init stop >/dev/null
  equal status $? 0
  await no_process
  await has_ended "$proxy"
  said "does not end: killed" || fail "no word of it"
  now=$(cat $bent/time)
  [ $((now - before)) -ge 15 ] || fail "killed after $((now - before)) s"
  [ $((now - before)) -le 30 ] || fail "the end after $((now - before)) s"
}

case_stop_in_each_pause() {
  for line in "status 0" "signal 9" "status 2" "status 1"; do
    set_up
    touch $bent/hold
    plan "$line" "$line" # the second status 1 is the first that waits
    $init start >/dev/null
    await field_is state pausing
    $init stop >/dev/null &
    stopper=$!
    await has_ended $stopper
    wait $stopper
    equal "status in the pause after $line" $? 0
    await no_process
    await no_pause
  done
}

case_stop_leaves_a_shutdown_timer() {
  live_through_staying stay
  impersonate timer stay
  $init stop >/dev/null
  ! has_ended "$impersonated" || fail "the timer was ended"
  kill -9 "$impersonated"
}

case_sigterm_is_stop() {
  live_through_staying obedient
  kill "$(field pid)"
  await no_process
  [ ! -e $state ] || fail "the state is left"
}

case_sigterm_ends_a_pause() {
  touch $bent/hold
  plan "status 0"
  $init start >/dev/null
  await field_is state pausing
  kill "$(field pid)"
  await no_process
  await no_pause
}

case_sighup_changes_nothing() {
  touch $bent/hold
  plan "status 0"
  $init start >/dev/null
  await field_is state pausing
  pid=$(field pid)
  kill -HUP "$pid"
  kill -HUP "$pid"
  rm $bent/hold
  await field_is starts 2
  await field_is state running
  kill -HUP "$pid"
  kill -9 "$(field daemon)"
  await field_is starts 3
  equal pauses "$(sleeps)" "600 10 "
}

# ---- What earlier lives left

case_a_killed_supervisor_is_followed_by_another() {
  live_through
  old_daemon=$(field daemon)
  kill -9 "$(field pid)"
  await has_ended "$(field pid)"
  $init status >/dev/null
  equal "status without it" $? 3
  $init start >/dev/null
  await has_ended "$old_daemon"
  await field_is starts 1
  await lived_more_than 1
  equal lives "$(lives)" 2
  said "ending what an earlier life left: $old_daemon" || fail "no word of it"
}

case_stop_ends_what_a_killed_supervisor_left() {
  live_through
  old_daemon=$(field daemon)
  kill -9 "$(field pid)"
  await has_ended "$(field pid)"
  $init stop >/dev/null
  equal status $? 0
  await has_ended "$old_daemon"
}

case_a_proxy_of_an_earlier_life_is_ended_and_a_timer_is_not() {
  impersonate proxy stubborn
  proxy=$impersonated
  impersonate timer stay
  timer=$impersonated
  live_through
  await has_ended "$proxy"
  ! has_ended "$timer" || fail "the timer was ended"
  kill -9 "$timer"
}

case_a_stalled_log_holds_nothing_up() {
  touch $bent/log_stalls
  set --
  while [ $# -lt 30 ]; do set -- "$@" "status 2"; done
  live_through "$@"
  # A script that is about to start a command counts twice.
  loggers=$(processes "/bin/sh /bin/logger")
  [ "$loggers" -le 22 ] || fail "$loggers loggers wait"
}

case_the_hosts_own_watchdog_can_do_it() {
  make_tool /bin/host-watchdog <<'END'
#!/bin/sh
while :; do "$@"; echo "again after $?" >>/run/bent/watchdog; done
END
  sed -e 's|^watchdog=$|watchdog=/bin/host-watchdog|' \
    -e 's|^watchdog_stop=$|watchdog_stop="killall -9 host-watchdog"|' $init >$bent/init
  chmod +x $bent/init
  mkdir -p $tmp && echo Mox0 >$tmp/moxstatus
  plan "status 3"
  $bent/init start >/dev/null
  equal start $? 0
  await lived_more_than 1
  $bent/init status >/dev/null
  equal status $? 0
  [ ! -e $tmp/moxstatus ] || fail "moxstatus was kept"
  $bent/init stop >/dev/null
  await no_process
  $bent/init status >/dev/null
  equal "status afterwards" $? 3
}

# ---- All of them

# shellcheck disable=SC2046  # words
[ $# -gt 0 ] || set -- $(sed -n 's/^\(case_[a-z0-9_]*\)() {$/\1/p' "$0")
for case_name in "$@"; do
  before_failures=$failures
  set_up
  "$case_name"
  tear_down
  if [ "$failures" -eq "$before_failures" ]; then
    echo "ok: $case_name"
  else
    sed 's/^/  log: /' $bent/log
  fi
done
echo "$# cases, $failures failures"
[ "$failures" -eq 0 ]
