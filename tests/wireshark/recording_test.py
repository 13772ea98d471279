#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Records the simulated host and looks at the recordings with tshark.

usage: recording_test.py SOURCE_DIR BUILD_DIR
"""
import os
import pathlib
import signal
import subprocess
import sys
import tempfile

source, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
here = source / "tests/wireshark"
failures = []

FILES = ["channel.pcap", "agent.pcap", "traps.pcap"]
TRAPS = ["1.3.6.1.4.1.32473.1.0.9", "1.3.6.1.4.1.32473.1.0.10", "1.3.6.1.4.1.32473.1.0.3"]
CHANNEL = [
    "channel 4: BMC status query",
    "channel 4: BMC status, firmware 2.10, generation 6",
    "channel 4: get variable KXHVM6",
    "channel 4: variable KXHVM6 = 01",
    "channel 15: hello",
    "channel 15: reply to hello",
    "channel 15: connect, parameter 0",
    "channel 15: reply to connect",
    "channel 15: notification 1.3.6.1.4.1.32473.1.0.3",
    "channel 15: log text: Power redundancy is lost",
    "channel 15: log text acknowledged",
    "channel 15: power off request in 60 s: too hot",
    "channel 15: shutdown request acknowledged",
    "channel 15: abort request: too hot",
    "channel 15: shutdown request acknowledged",
    "channel 15: goodbye",
    "channel 15: reply to goodbye",
]


def expect(what, expected, got):
    if expected != got:
        failures.append(f"{what}:\n  expected {expected}\n  got      {got}")


def tshark(work, path, *fields):
    """Lists of field values, one a packet; nothing may be wrong with the file."""
    settings = {"HOME": str(work), "WIRESHARK_CONFIG_DIR": str(work)}
    result = subprocess.run(
        ["tshark", "-2", "-X", f"lua_script:{source}/tools/wireshark/tvurev.lua", "-r", path,
         "-T", "fields", *(word for field in fields for word in ("-e", field))],
        capture_output=True, text=True, env=os.environ | settings)
    complaints = [line for line in result.stderr.splitlines() if "Running as user" not in line]
    expect(f"tshark on {path.name}", (0, []), (result.returncode, complaints))
    return [line.split("\t") for line in result.stdout.splitlines()]


def lab_run(directory, *arguments):
    return [str(source / "lab/run"), "--build", str(build), "--pcap", str(directory), *arguments]


def trap_of(enterprise, specific):
    """The notification's trap OID, from the SNMPv1 trap that it became."""
    return f"{enterprise}.0.{specific}"


def test_a_whole_run(work):
    directory = work / "whole"
    run = subprocess.run(
        lab_run(directory, "--agent", str(here / "agent.notifications"),
                str(here / "recording.scenario")),
        capture_output=True, text=True, stdin=subprocess.DEVNULL)
    expect("lab/run", (0, ""), (run.returncode, run.stderr))
    expect("files", sorted(FILES), sorted(path.name for path in directory.iterdir()))

    lines = tshark(work, directory / "channel.pcap", "_ws.col.Info", "_ws.expert.message")
    expect("channels", [[line, ""] for line in CHANNEL], lines)
    lines = tshark(work, directory / "agent.pcap", "_ws.col.Info", "_ws.expert.message")
    # The daemon's end of the stream depends on who hangs up first.
    expect("agent", [[f"notification {oid}", ""] for oid in TRAPS[:2]],
           [line for line in lines if line[0] != "end of the agent's stream"])

    # All in one file: each notification comes before its traps, one a receiver.
    merged = work / "all.pcapng"
    subprocess.run(["mergecap", "-w", merged, *(directory / name for name in FILES)], check=True)
    said, sent = {}, {}
    for number, trap_oid, address, enterprise, specific in tshark(
            work, merged, "frame.number", "tvurev_notify.trap_oid", "ip.dst", "snmp.enterprise",
            "snmp.specific_trap"):
        if trap_oid:
            said[trap_oid] = int(number)
        if enterprise:
            sent.setdefault(trap_of(enterprise, specific), []).append((int(number), address))
    for oid in TRAPS:
        expect(f"receivers of {oid}", ["192.0.2.7", "198.51.100.9"],
               [address for _, address in sent.get(oid, [])])
        expect(f"{oid} before its traps", True,
               said.get(oid, 0) < min((number for number, _ in sent.get(oid, [])), default=0))


def test_a_killed_run(work):
    directory = work / "killed"
    run = subprocess.Popen(lab_run(directory, "--keep"), stdin=subprocess.PIPE,
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                           start_new_session=True)
    run.stdin.write("expect connect\nnotify 1.3.6.1.4.1.32473.1.0.3\n")
    run.stdin.flush()
    for line in run.stdout:
        if "Enterprise Specific Trap (TVUREV-DEMO-MIB::fanFailed)" in line:
            break
    os.killpg(run.pid, signal.SIGKILL)
    run.wait()
    run.stdout.read()  # until nothing of it is left
    lines = [line for line, in tshark(work, directory / "channel.pcap", "_ws.col.Info")]
    expect("channels of a killed run", CHANNEL[:9], lines[:9])
    expect("agent of a killed run", [], tshark(work, directory / "agent.pcap", "_ws.col.Info"))
    traps = tshark(work, directory / "traps.pcap", "ip.dst", "snmp.specific_trap")
    expect("traps of a killed run", ["192.0.2.7", "3"], traps[0] if traps else None)


def test_a_command(work):
    directory = work / "command"
    run = subprocess.run(lab_run(directory, "--", "snmptrap", "-v1", "-c", "public", "192.0.2.7",
                                 "1.3.6.1.4.1.32473.1", "192.0.2.20", "6", "5", "100"),
                         capture_output=True, text=True, stdin=subprocess.DEVNULL)
    expect("lab/run -- snmptrap", 0, run.returncode)
    expect("files", sorted(FILES), sorted(path.name for path in directory.iterdir()))
    expect("traps of a command", [["192.0.2.7", "5"]],
           tshark(work, directory / "traps.pcap", "ip.dst", "snmp.specific_trap"))


def test_the_installed_script(work):
    subprocess.run(["cmake", "--install", build, "--component", "lab", "--prefix", work / "prefix"],
                   check=True, capture_output=True)
    expect("what is installed with the lab", (source / "tools/wireshark/tvurev.lua").read_text(),
           (work / "prefix/share/tvurev/wireshark/tvurev.lua").read_text())


with tempfile.TemporaryDirectory() as name:
    for test in (test_a_whole_run, test_a_killed_run, test_a_command, test_the_installed_script):
        test(pathlib.Path(name))
for failure in failures:
    print("FAILED", failure)
print("recordings are as they should be" if not failures else f"{len(failures)} failures")
sys.exit(bool(failures))
