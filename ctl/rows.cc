// SPDX-License-Identifier: Apache-2.0
// The table of findings.

#include <array>
#include <cstdio>
#include <cstdlib>

#include "ctl/findings.h"

namespace {

using enum Severity;
using enum Costs;

constexpr std::string_view kNone = "no-trap-came";
constexpr std::string_view kStopped = "traps-came-and-stopped";
constexpr std::string_view kTwice = "traps-come-twice";
constexpr std::string_view kSender = "wrong-sender-address";
constexpr std::string_view kLog = "the-log-is-full-of-";
constexpr std::string_view kReceivers = "changing-the-receivers";
constexpr std::string_view kBoard = "exchanging-the-board";
constexpr std::string_view kAgent = "a-host-agents-notifications-are-missing";

constexpr std::array kRows = {
    // The driver and its channels.
    Row{"driver", kOk, kNothing, "The BMC driver's node {path} is there.", "", kNone},
    Row{"driver-missing", kFail, kEverything, "The BMC driver's node {path} is missing.",
        "Install or load the BMC driver, then start tvurev.", kNone},
    Row{"channels", kOk, kNothing, "{number} channels of the driver are there.", "", kNone},
    Row{"channels-missing", kFail, kEverything, "None of the driver's channels {path} is there.",
        "Load the BMC driver again: it makes the nodes.", kNone},
    Row{"channels-busy", kFail, kEverything,
        "All channels to the BMC that a query may use are taken.",
        "Find out with \"lsof\" who has the zemox nodes open, and end it.", kNone},
    // The BMC and what is remembered of it.
    Row{"status-file", kOk, kNothing, "{path} says Mox6.", "", kBoard},
    Row{"status-file-absent", kOk, kNothing,
        "There is no {path}: the next start asks the BMC for its generation.", "", kBoard},
    Row{"status-file-other-generation", kFail, kEverything,
        "{path} says generation {number}: each start believes it and ends.",
        "Run \"tvurevctl forget\", then start tvurev.", kBoard},
    Row{"status-file-other-owner", kWarn, kNothing,
        "{path} is not root's and does not count: each start asks the BMC.",
        "Run \"tvurevctl forget\".", kBoard},
    Row{"status-file-unreadable", kFail, kEverything,
        "{path} cannot be read ({why}): each start takes that for another generation and ends.",
        "Run \"tvurevctl forget\", then start tvurev.", kBoard},
    Row{"bmc", kOk, kNothing, "The BMC answers: generation 6, firmware {version}.", "", kNone},
    Row{"bmc-not-asked", kUnknown, kNothing, "The BMC was not asked ({why}).", "", kNone},
    Row{"bmc-silent", kFail, kEverything, "The BMC does not answer.",
        "Wait until the BMC has started, or reset it; then run \"tvurevctl forget\" and "
        "\"tvurevctl restart\".",
        kStopped},
    Row{"bmc-query-failed", kFail, kEverything, "The BMC's driver refuses a query.",
        "Load the BMC driver again, or reset the BMC; then run \"tvurevctl restart\".", kStopped},
    Row{"bmc-other-generation", kFail, kEverything,
        "The BMC answers with generation {number}, and tvurev serves generation 6.",
        "Where the board was exchanged, run \"tvurevctl forget\"; otherwise tvurev is not for this "
        "server.",
        kBoard},
    Row{"mode", kOk, kNothing, "Reverse mode is on in the BMC ({variable} is {value}).", "", kNone},
    Row{"mode-off", kFail, kEverything, "Reverse mode is off in the BMC ({variable} is 0).",
        "Run \"tvurevctl mode on\".", kNone},
    Row{"mode-missing", kFail, kEverything,
        "The BMC has no variable {variable}: reverse mode is off.", "Run \"tvurevctl mode on\".",
        kNone},
    Row{"mode-unreadable", kFail, kEverything,
        "The BMC does not tell its variable {variable} ({why}): that counts as off.",
        "Run \"tvurevctl mode\" again; where it stays so, reset the BMC.", kNone},
    // The host's SNMP settings.
    Row{"settings", kOk, kNothing, "{path} switches the host's SNMP agent on.", "", kReceivers},
    Row{"settings-missing", kFail, kEverything,
        "{path} is missing: the host's SNMP agent counts as off.",
        "Configure and enable the host's SNMP agent, then run \"tvurevctl restart\".", kNone},
    Row{"settings-unreadable", kFail, kEverything,
        "{path} cannot be read ({why}): the host's SNMP agent counts as off.",
        "Put a file there that root can read, then run \"tvurevctl restart\".", kNone},
    Row{"settings-need-root", kUnknown, kEverything, "{path} can be read by root only.",
        "Run this as root.", kNone},
    Row{"settings-disabled", kFail, kEverything,
        "The host's SNMP agent is off: {path} has no line with <enable>true.",
        "Enable the host's SNMP agent, then run \"tvurevctl restart\".", kNone},
    Row{"settings-without-targets", kFail, kEverything, "{path} names no receiver.",
        "Give the host's SNMP agent trap targets, then run \"tvurevctl restart\".", kReceivers},
    Row{"settings-tags-apart", kFail, kReceiver,
        "A <targets> tag of {path} is not on one line with its end: what stands there does not "
        "count.",
        "Write <targets> and </targets> on one line, then run \"tvurevctl restart\".", kReceivers},
    Row{"settings-piece-too-long", kFail, kEverything,
        "{piece} in {path} is longer than {limit} characters: tvurev aborts at each start.",
        "Shorten it, then start tvurev.", kReceivers},
    Row{"entry-beyond-three", kFail, kReceiver,
        "{receiver} is written behind three others and gets nothing.",
        "Keep three receivers at most, or let one of them pass traps on.", kReceivers},
    Row{"entry-without-at", kFail, kReceiver,
        "The entry {receiver} has no \"@\": neither it nor the one behind it is read as it is "
        "meant.",
        "Write it as RECEIVER@162 COMMUNITY, then run \"tvurevctl restart\".", kReceivers},
    Row{"entry-without-community", kFail, kReceiver,
        "The entry {receiver} has no blank and community behind its \"@\".",
        "Write it as RECEIVER@162 COMMUNITY, then run \"tvurevctl restart\".", kReceivers},
    Row{"entry-port-ignored", kWarn, kNothing,
        "The port {port} of {receiver} is ignored: traps go to port 162.",
        "Let the receiver listen on UDP port 162.", kReceivers},
    // The receivers themselves.
    Row{"receivers-none-in-force", kFail, kEverything,
        "No receiver is in force: {path} named none when tvurev started.",
        "Run \"tvurevctl restart\".", kReceivers},
    Row{"receiver", kOk, kNothing, "{receiver} can be sent to.", "", kNone},
    Row{"receiver-not-probed", kOk, kNothing, "{receiver} is an address; no datagram was tried.",
        "", kNone},
    Row{"receiver-ipv6", kFail, kReceiver, "{receiver} is an IPv6 address, which is not served.",
        "Give the receiver by an IPv4 address.", kReceivers},
    Row{"receiver-malformed", kFail, kReceiver,
        "{receiver} is neither an IPv4 address nor a host name.", "Mend the entry.", kReceivers},
    Row{"receiver-unresolvable", kFail, kReceiver, "The name {receiver} does not resolve ({why}).",
        "Mend the name or the host's name service, or write the IPv4 address.", kReceivers},
    Row{"receiver-no-route", kFail, kReceiver, "There is no route to {receiver} ({why}).",
        "Mend the host's network settings or the receiver's address.", kNone},
    Row{"receiver-refused", kFail, kReceiver,
        "The host refuses to send to UDP port 162 of {receiver} ({why}).",
        "Open outbound UDP port 162 in the host's firewall.", kNone},
    Row{"receiver-deaf", kFail, kReceiver,
        "Nobody listens on UDP port 162 of {receiver}: it answered so.",
        "Start the trap receiver there.", kNone},
    Row{"receiver-twice", kWarn, kNothing, "{receiver} is a receiver more than once.",
        "Keep one entry for it, then run \"tvurevctl restart\".", kTwice},
    // The sender's address.
    Row{"host-address", kOk, kNothing, "Traps carry the address of vmk0, {address}.", "", kSender},
    Row{"vmk0-missing", kWarn, kNothing,
        "The host has no interface vmk0: traps carry 255.255.255.255 as sender.",
        "Give the host's management interface an IPv4 address, then run \"tvurevctl restart\".",
        kSender},
    Row{"localcli-missing", kWarn, kNothing,
        "There is no command localcli: traps carry 255.255.255.255 as sender.",
        "Let PATH lead to the host's localcli where tvurev is started, then run \"tvurevctl "
        "restart\".",
        kSender},
    Row{"localcli-failing", kWarn, kNothing,
        "The command localcli fails ({why}): traps carry 255.255.255.255 as sender.",
        "Try \"localcli network ip interface ipv4 get\"; once it works, run \"tvurevctl restart\".",
        kSender},
    Row{"host-address-changed", kWarn, kNothing,
        "Traps carry the sender address {address}, as tvurev found it at its start; vmk0 has "
        "{address} now.",
        "Run \"tvurevctl restart\".", kSender},
    // The folders.
    Row{"folders", kOk, kNothing, "The folders under {path} are as they should be.", "", kAgent},
    Row{"folder-missing", kWarn, kNothing, "The folder {path} is missing: {loss}.",
        "Make it, root's, mode 0755, then run \"tvurevctl restart\".", kAgent},
    Row{"folder-is-a-file", kWarn, kNothing, "{path} is no folder: {loss}.",
        "Remove it and make a folder of that name, then run \"tvurevctl restart\".", kAgent},
    Row{"folder-link-dangling", kWarn, kNothing,
        "{path} is a link to {target}, which is not there: {loss}.",
        "Make what the link leads to, or remove the link, then run \"tvurevctl restart\".", kAgent},
    Row{"folder-mode", kWarn, kNothing,
        "The folder {path} has mode {mode}: others may put marker files or sockets there.",
        "Run \"chmod go-w\" on it.", kAgent},
    Row{"folder-owner", kWarn, kNothing, "The folder {path} is not root's: its owner rules tvurev.",
        "Run \"chown root\" on it.", kAgent},
    Row{"disk-full", kWarn, kNothing, "There is no space left under {path}: {loss}.",
        "Make room there.", kAgent},
    // The processes.
    Row{"daemon", kOk, kNothing, "tvurev runs as process {process} since {time}: {state}.", "",
        kNone},
    Row{"daemon-not-running", kFail, kEverything, "tvurev does not run{detail}.",
        "Start it: /etc/init.d/tvurev start, or what starts it on this host.", kStopped},
    Row{"daemon-unknown", kUnknown, kEverything, "Whether tvurev runs cannot be seen ({why}).",
        "Run this as root.", kNone},
    Row{"daemon-state-unknown", kUnknown, kEverything,
        "tvurev runs as process {process}, but what it does cannot be seen: its state file is "
        "missing.",
        "See that /opt/ortdv/tmp is a folder with space in it, then run \"tvurevctl restart\".",
        kNone},
    Row{"daemon-waiting", kFail, kEverything,
        "tvurev (process {process}) waits for a restart since {time}: {why} when it started.",
        "Mend that, then run \"tvurevctl restart\".", kNone},
    Row{"daemon-starting", kFail, kEverything,
        "tvurev (process {process}) is still passing its gates since {time}.",
        "Run this again in a minute.", kNone},
    Row{"daemon-not-connected", kFail, kEverything,
        "tvurev (process {process}) has no session with the BMC since {time}: {state}.",
        "Run this again in a minute; where it stays so, reset the BMC.", kStopped},
    Row{"daemon-halted", kFail, kEverything, "tvurev (process {process}) is halted by a signal.",
        "Run \"kill -CONT\" with its number, or \"tvurevctl restart\".", kStopped},
    Row{"daemon-twice", kWarn, kNothing, "tvurev runs {number} times: processes {processes}.",
        "Run \"tvurevctl stop\", then start it once.", kTwice},
    Row{"daemon-other-version", kWarn, kNothing,
        "tvurev runs in version {version}, and {installed} is installed.",
        "Run \"tvurevctl restart\".", kReceivers},
    Row{"settings-changed", kWarn, kNothing,
        "{path} was changed after tvurev started, which reads it then only. In force: {receivers}.",
        "Run \"tvurevctl restart\".", kReceivers},
    Row{"relay", kOk, kNothing, "The agent socket's process {process} {state}.", "", kAgent},
    Row{"relay-missing", kWarn, kNothing,
        "The agent socket's process does not run: notifications of a host agent are lost.",
        "Run \"tvurevctl restart\".", kAgent},
    Row{"relay-halted", kWarn, kNothing,
        "The agent socket's process {process} is halted by a signal.",
        "Run \"kill -CONT\" with its number, or \"tvurevctl restart\".", kAgent},
    Row{"relay-orphaned", kWarn, kNothing,
        "The agent socket's process {process} has outlived its tvurev.",
        "Run \"tvurevctl stop agent\", unless tvurev starts again anyway.", kAgent},
    Row{"shutdown-timer", kWarn, kNothing,
        "A shutdown timer runs (process {process}): the BMC has this host rebooted or powered off.",
        "Nothing, or have the BMC abort it.", kStopped},
    // The agent socket.
    Row{"socket", kOk, kNothing, "The agent socket {path} is served.", "", kAgent},
    Row{"socket-absent", kOk, kNothing, "The agent socket {path} comes with tvurev.", "", kAgent},
    Row{"socket-missing", kWarn, kNothing,
        "The agent socket {path} is missing: no host agent can connect.",
        "Mend its folder where one is complained of, then run \"tvurevctl restart\".", kAgent},
    Row{"socket-without-listener", kWarn, kNothing,
        "Nobody listens on the agent socket {path}: it is an earlier run's.",
        "Start tvurev, or run \"tvurevctl restart\".", kAgent},
    Row{"socket-taken", kWarn, kNothing,
        "The agent socket {path} is another program's (process {process}).",
        "End that program, then run \"tvurevctl restart\".", kAgent},
    // Marker files.
    Row{"stop-file-lying", kWarn, kNothing, "{path} lies there, and nobody will read it{detail}.",
        "Remove it, or run \"tvurevctl stop\".", kStopped},
    Row{"stop-file-pending", kWarn, kNothing, "{path} is there: tvurev is about to end.",
        "Nothing, or remove it.", kStopped},
    Row{"restart-file-lying", kWarn, kNothing,
        "{path} lies there, and nobody will read it: tvurev looks for it only while it waits.",
        "Remove it, or run \"tvurevctl restart\".", kReceivers},
    // The log.
    Row{"debug-ignored", kWarn, kNothing, "The debug switch {path} does not count: {why}.",
        "Run \"tvurevctl debug on\" with its name, then \"tvurevctl restart\"; or \"tvurevctl "
        "debug off\".",
        kLog},
    Row{"debug-on", kWarn, kNothing, "Debug output is on: {switches}.",
        "Once it is not needed any more, run \"tvurevctl debug off\".", kLog},
    Row{"log", kOk, kNothing, "The system log takes messages.", "", kLog},
    Row{"log-missing", kWarn, kNothing, "There is no log socket {path}: messages are lost.",
        "Start the host's log daemon.", kLog},
    Row{"log-stalled", kWarn, kNothing,
        "The log daemon does not read: messages wait a second each, or are lost.",
        "Start the host's log daemon again.", kLog},
};

}  // namespace

std::span<const Row> rows() {
  return kRows;
}

const Row& row(std::string_view id) {
  for (const Row& candidate : kRows) {
    if (candidate.id == id) {
      return candidate;
    }
  }
  fprintf(stderr, "tvurevctl: no row %.*s\n", static_cast<int>(id.size()), id.data());
  abort();
}
