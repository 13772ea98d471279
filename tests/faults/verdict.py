# SPDX-License-Identifier: Apache-2.0
"""Judges a life that was played with a fault (tests/faults/life.h has the fields)
by one without.

The daemon may go on: both roads relay the next notification, it stops when asked
to, and nothing is left behind. Or it may end, or give up a road, as
docs/operations.md says; then a line of the log says why, and the next start, or
the start after a mended file, relays. Everything else is a defect.
"""
import re

WENT_ON = "went on"
ENDED = "ended as documented"
DEFECT = "defect"

# Why the first process may end by itself, and with which status; or wait for the
# restart file, which the life makes when it wants it to stop.
REASONS_TO_END = [
    (0, r"first 6 ortdv: tvurev: ERROR: Missing mox driver\."),
    (0, r"first 6 ortdv: ryn11 tvurev: Server not supported\."),
    (1, r"first 6 ortdv: tvurev:  Reverse TVU disabled\."),
    (1, r"first 6 ortdv: ESXi Host SNMP disabled\. Cannot run TVU Reverse Proxy\."),
]
# Why the agents' road, or both, may be given up until the next start.
REASONS_TO_LOSE_THE_SOCKET = r"\w+ 3 ortdv: tvurev: .*[Hh]ost agents"
REASONS_TO_LOSE_TRAPS = r"\w+ 3 ortdv: .*names no usable trap target"

# A fault may cost as many calls as a life without one has, and what the waits
# that follow it take: the loops poll and look at a file each second.
SPARE_CALLS = 1000
CALLS_A_SECOND = 20
SPARE_SECONDS = 2500


def logged(life, pattern, after_restart=False):
    lines = life["log_again"] if after_restart else life["log"]
    return any(re.match(pattern, line) for line in lines)


def complaints(life):
    return [line for line in life["log"] if re.match(r"\w+ [0-4] ", line)]


def unusual_complaints(life, usual):
    plain = {re.sub(r"\d+", "N", line) for line in complaints(usual)}
    return [line for line in complaints(life) if re.sub(r"\d+", "N", line) not in plain]


def bookkeeping(life, usual):
    """What must hold however the life went."""
    problems = []
    problems += [step for step in life["steps"] if step.endswith(("stuck", "stalled"))]
    if life["left"]:
        problems.append("left behind: " + ", ".join(life["left"]))
    if any(times > 1 for sent in life["sent"] for times in sent["arrived"]):
        problems.append("a notification arrived twice")
    seconds = life["simulated_seconds"] - usual["simulated_seconds"]
    if seconds > SPARE_SECONDS:
        problems.append(f"took {seconds:.0f} s more of simulated time")
    for kind in range(len(life["blocks"])):
        calls = sum(row[kind] for row in life["calls"].values())
        limit = 2 * sum(row[kind] for row in usual["calls"].values()) + SPARE_CALLS
        if calls > limit + CALLS_A_SECOND * max(seconds, 0):
            problems.append(f"spins: {calls} calls")
    if "reboot " in life["commands"]:
        problems.append("rebooted after the abort")
    return problems


def state(life, usual):
    """What a daemon that still relays must hold, and no more."""
    problems = []
    for name, number in life["descriptors"].items():
        expected = usual["descriptors"].get(name)
        if expected is not None and number > expected:
            problems.append(f"{name} process: {number} descriptors instead of {expected}")
    if life["zombies"] > usual["zombies"]:
        problems.append(f"{life['zombies']} children that nobody reaped")
    for kind, name in ((0, "first"), (1, "proxy")):
        more = life["blocks"][kind] - usual["blocks"][kind]
        if more > 0:
            problems.append(f"{name} process: {more} heap blocks more")
    return problems


def silent_losses(life, usual):
    if unusual_complaints(life, usual):
        return []
    problems = []
    for sent in life["sent"]:
        if 0 in sent["arrived"]:
            problems.append(f"notification {sent['number']} ({sent['road']}) was lost "
                            f"{sent['arrived']} without a word")
    if "poweroff " not in life["commands"]:
        problems.append("the shutdown was not carried out, without a word")
    return problems


def judge(life, usual):
    """Returns (verdict, [what is wrong])."""
    if life["error"]:
        return DEFECT, [life["error"]]
    problems = bookkeeping(life, usual)
    if life["bmc_road"] and life["agent_road"]:
        problems += state(life, usual) + silent_losses(life, usual)
        if life["first_status"] != 1 or not life["asked_to_stop"]:
            problems.append(f"ended with status {life['first_status']}")
        if life["proxy_status"] != 1:
            problems.append(f"the socket proxy ended with status {life['proxy_status']}")
        return (DEFECT, problems) if problems else (WENT_ON, [])
    if not life["relayed_again"]:
        problems.append("the next start does not relay")
    ended = [reason for status, reason in REASONS_TO_END
             if status == life["first_status"] and logged(life, reason)]
    if ended or logged(life, REASONS_TO_LOSE_TRAPS):
        return (DEFECT, problems) if problems else (ENDED, [])
    if not life["bmc_road"]:
        problems.append(f"no trap for the BMC; status {life['first_status']}")
    elif life["asked_to_stop"] and life["first_status"] != 1:
        problems.append(f"ended with status {life['first_status']}")
    if not life["agent_road"] and not logged(life, REASONS_TO_LOSE_THE_SOCKET):
        problems.append(f"no trap for agents, and no line says why; the socket proxy's status is "
                        f"{life['proxy_status']}")
    return (DEFECT, problems) if problems else (ENDED, [])
