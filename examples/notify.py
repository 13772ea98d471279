#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""A host agent in one file: hands notifications over to tvurev, which sends each
as an SNMPv1 trap. Needs no packages. docs/agents.md says what is done here, and
why."""
import argparse
import fcntl
import os
import socket
import struct
import sys
import termios
import time

RUNNING_FILE = "/opt/ortdv/tmp/tvurevrunning.text"
SOCKET = "/opt/ortdv/sockets/agentx/tvud"
PDU_MAX = 4080
NOTIFY = 12
INTEGER, OCTET_STRING, OBJECT_ID, TIME_TICKS = 2, 4, 6, 67


# Every field is little-endian, on every machine: "<".
def word(number):
    return struct.pack("<I", number & 0xFFFFFFFF)


def oid(dotted):
    """An object identifier as it travels: 1.3.6.1 is left out, a prefix follows."""
    numbers = [int(number) for number in dotted.split(".")]
    assert numbers[:4] == [1, 3, 6, 1], dotted
    return struct.pack(f"<BBBB{len(numbers) - 5}I", len(numbers) - 5, numbers[4], 0, 0, *numbers[5:])


def octets(data):
    return word(len(data)) + data + bytes(-len(data) % 4)


def binding(name, kind, value):
    return struct.pack("<HH", kind, 0) + oid(name) + value


def notification(trap, uptime, *bindings):
    """The PDU: AgentX's version, the type, flags and three numbers of no meaning here."""
    body = binding("1.3.6.1.2.1.1.3.0", TIME_TICKS, word(uptime))
    body += binding("1.3.6.1.6.3.1.1.4.1.0", OBJECT_ID, oid(trap)) + b"".join(bindings)
    pdu = struct.pack("<BBBBIIII", 1, NOTIFY, 0, 0, 0, 0, 0, len(body)) + body
    if len(pdu) > PDU_MAX:
        raise ValueError(f"{len(pdu)} bytes, and tvurev takes {PDU_MAX} at once")
    return pdu


def fan_failed(number, text):
    """The numbers are from the range for documentation."""
    uptime = int(time.clock_gettime(time.CLOCK_BOOTTIME) * 100)
    return notification(
        "1.3.6.1.4.1.32473.1.0.3", uptime,
        binding("1.3.6.1.4.1.32473.1.1.1.0", INTEGER, word(number)),
        binding("1.3.6.1.4.1.32473.1.1.2.0", OCTET_STRING, octets(text.encode())))


def say(what):
    print("notify:", what, file=sys.stderr)


def connect(wait_seconds):
    """Connects once tvurev says that it takes a client; None with a message when
    it does not in time. The running file is away for 30 seconds after a hang-up."""
    for second in range(wait_seconds + 1):
        agent = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        try:
            refused_by = RUNNING_FILE
            os.stat(RUNNING_FILE)
            refused_by = SOCKET
            agent.connect(SOCKET)
            return agent
        except OSError as error:
            agent.close()
            last = second == wait_seconds
            if second == 0 or last:
                waiting = "" if last else "; waiting"
                say(f"tvurev takes no client ({refused_by}: {error.strerror}){waiting}")
            if not last:
                time.sleep(1)
    return None


def send_alone(agent, pdu):
    """Writes one notification, with one call. The descriptor that goes with it is for
    nobody: behind it Linux ends the receive that takes this notification, so that the
    next one is never taken with it."""
    with open("/dev/null", "rb") as nothing:
        return socket.send_fds(agent, [pdu], [nothing.fileno()]) == len(pdu)


def hand_over(agent, pdu):
    """Hands one over and waits until tvurev has read it. False when it hung up
    instead: it has not read it then."""
    try:
        if not send_alone(agent, pdu):
            return False
    except OSError:
        return False
    # SIOCOUTQ by its other name: what the other end has not read.
    while struct.unpack("i", fcntl.ioctl(agent, termios.TIOCOUTQ, bytes(4)))[0] > 0:
        time.sleep(0.00005)
    # Nothing is unread either when tvurev's end was closed; the kernel tells.
    return agent.getsockopt(socket.SOL_SOCKET, socket.SO_ERROR) == 0


def from_zero(text):
    number = int(text)
    if number < 0:
        raise ValueError
    return number


def main():
    parser = argparse.ArgumentParser(
        prog="notify.py", description="Hands notifications over to tvurev.",
        epilog="Exits with 0 when tvurev has read them all, 1 when not, 2 when the options are wrong.")
    parser.add_argument("--count", type=from_zero, default=1, metavar="N", help="how many (default: 1)")
    parser.add_argument("--wait", type=from_zero, default=60, metavar="SECONDS",
                        help="how long to look for tvurev before giving up (default: 60)")
    parser.add_argument("text", nargs="?", default="Fan 3 in the processor zone has failed",
                        metavar="TEXT", help="what they say")
    options = parser.parse_args()
    if len(options.text.encode()) > 255:
        parser.error("a text of more than 255 bytes")
    agent = connect(options.wait)
    number = 1
    while agent and number <= options.count:
        if hand_over(agent, fan_failed(number, options.text)):
            number += 1
            continue
        say(f"tvurev hung up before it read number {number}")
        agent.close()
        agent = connect(options.wait)
    return 0 if agent else 1  # leaving hangs up


if __name__ == "__main__":
    sys.exit(main())
