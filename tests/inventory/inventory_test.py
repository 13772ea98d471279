#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs ortinv on the simulated host, beside the simulated BMC, and compares what
it says with what the sample host holds.

usage: inventory_test.py SOURCE_DIR BUILD_DIR
"""
import json
import pathlib
import subprocess
import sys

import jsonschema

source, build = map(pathlib.Path, sys.argv[1:])


def ortinv(*arguments):
    """Returns (exit status, standard output, standard error)."""
    done = subprocess.run(
        [source / "lab/run", "--build", build, "--", "ortinv", *arguments],
        capture_output=True, text=True, timeout=60, check=False)
    return done.returncode, done.stdout, done.stderr


def expect(what, wanted, got):
    if wanted != got:
        sys.exit(f"{what}: expected {wanted!r}, got {got!r}")


def expect_everything_is_found():
    status, output, errors = ortinv("all", "--json")
    expect("status of all", (0, ""), (status, errors))
    document = json.loads(output)
    jsonschema.validate(document, json.loads((build / "ortinv/ortinv.schema.json").read_text()))
    expect("problems", [], document["problems"])
    expect("product", "VMware ESXi", document["host"]["product"])
    expect("BMC address", "192.0.2.200", document["bmc"]["address"]["ipv4"])
    expect("mode", True, document["bmc"]["mode"]["enabled"])
    slots = [record for record in document["smbios"] if record["type"] == 9]
    expect("slots", 8, len(slots))
    names = [entry["name"] for entry in document["software"]]
    for name in ("ESXi", "Example-raid", "ort-snmp-agent"):
        if name not in names:
            sys.exit(f"software: {name} is missing in {names}")
    for name in names:
        if "unstable" in name or "hidden" in name:
            sys.exit(f"software: {name} must not be listed")


def expect_text(arguments, status, text):
    got_status, output, errors = ortinv(*arguments)
    expect(f"status of {arguments}", status, got_status)
    if text not in output + errors:
        sys.exit(f"{arguments}: {text!r} is missing in {output + errors!r}")


expect_everything_is_found()
expect_text(["pci", "0000:11:00.0"], 0, "Slot 3")
expect_text(["drive", "SSD0000101"], 0, "Bay 1")
expect_text(["drive", "NONE"], 1, "")
expect_text(["software", "Example-raid"], 0, "80.4526.0")
expect_text(["bmc", "interval", "9", "60"], 0, "Changed bmc interval 9 from - to 60.")
expect_text(["bmc", "mode", "off"], 0, "Changed bmc mode from 1 to 0.")
expect_text(["entity-mib", "--write"], 0, "192.0.2.200")
expect_text(["nonsense"], 2, "--help")
expect_text([], 0, "Serial    EX24110042\n")
expect_text([], 0, "BMC       192.0.2.200")
expect_text([], 0, "PCI       2 of 8 slots in use\n")
expect_text(["-t", "memory"], 2, '"-t" is an option of "ortinv smbios"')
expect_text(["smbios", "--string", "system-serial-number"], 0, "EX24110042\n")
expect_text(["smbios", "--list"], 0, "0x0903     9      17  System Slots: PCI-E Slot 3\n")
expect_text(["smbios", "--type", "slot,195"], 0, "Server system id: SRV-2200-A\n")
expect_text(["drive", "SSD"], 1, "2 drives have a serial number that begins with SSD")
print("the sample host's inventory is complete")
