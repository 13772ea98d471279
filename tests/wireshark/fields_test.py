#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds the fields of the Wireshark dissector to the byte layouts of the headers.

usage: fields_test.py SOURCE_DIR

A field "a.b_c" must stand where the constant a::kBC of its header says. What the
headers do not have is listed here.
"""
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
script = (source / "tools/wireshark/tvurev.lua").read_text()
failures = []

# Shown, but no place in the bytes, or a part of another field.
DERIVED = {
    "tvurev_record": set(),
    "chif": {
        "channel", "request_in", "response_in", "time", "data",
        "shutdown.reboot", "shutdown.abort", "shutdown.meaning",
        "ipv6_address.ipv6_enabled", "ipv6_address.ipv4_enabled",
        "nvram.request.value", "nvram.response.name"},
    "tvurev_notify": {
        "trap_oid", "value.integer", "value.word", "value.counter64", "value.object_id",
        "value.address", "value.text"},
}


def snake(name):
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])", "_", name).lower()


def constants_of(header):
    """"name.space.constant" -> offset, from a header's plain definitions."""
    found, spaces = {}, []
    for line in (source / header).read_text().splitlines():
        if match := re.match(r"namespace (\w+) \{", line):
            spaces.append(match[1])
        elif line.startswith("}  // namespace"):
            spaces.pop()
        elif match := re.match(r"inline constexpr size_t k(\w+) = (\d+);", line):
            found[".".join([*spaces, snake(match[1])])] = int(match[2])
    return found


def rows_of(prefix):
    """Field -> offset, from the dissector's table."""
    table = re.search(r'rows_of\(\w+, "%s", \{\n(.*?)\n\}\)' % prefix, script, re.S)[1]
    return {name: int(at) for name, at in re.findall(r'^  \{ "([\w.]+)", (\d+),', table, re.M)}


def check(prefix, constants):
    rows = rows_of(prefix)
    for name in DERIVED[prefix] - rows.keys():
        failures.append(f"{prefix}.{name} is no field any more")
    for name, at in rows.items():
        if name in DERIVED[prefix]:
            continue
        if name not in constants:
            failures.append(f"{prefix}.{name}: no header has such a constant")
        elif constants[name] != at:
            failures.append(f"{prefix}.{name} is at {at}, the header says {constants[name]}")


def under(space, constants):
    """Names without their outermost name space, and without that of a header."""
    return {re.sub(r"^header\.", "", name.removeprefix(f"{space}.")): at
            for name, at in constants.items()}


kcs = constants_of("wire/kcs.h")
check("chif", under("chif", constants_of("wire/chif.h")) | kcs)
check("tvurev_notify", under("agentx", constants_of("wire/agentx.h")))
check("tvurev_record", under("record_header", constants_of("lab/capture/record_header.h")))

for failure in failures:
    print("FAILED", failure)
sys.exit(bool(failures))
