#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the library's reading of SMBIOS tables with dmidecode's, field by field,
and what ortinv prints of it, as text and as JSON, with the library's.

usage: compare_test.py SHOW_DECODED ORTINV SAMPLE_TABLE

Whole servers, the simulated host's table, every value of the fields that have
words, and every type at every length; what may differ, and why, is in
differences.txt.
"""
import pathlib
import sys
import tempfile

import differences
import readers
import tables

program, tool, sample = sys.argv[1:]
here = pathlib.Path(__file__).parent
rules = differences.Rules(here / "differences.txt")
rows = readers.rows(program)
failures = []


def compare(what, table, version=(3, 6)):
    table.end()
    compare_dump(what, tables.dump64(bytes(table.bytes), version), "", table.count)


def compare_dump(what, content, problems, count):
    """Holds a dump's structures, as many as count, and its problems."""
    with tempfile.NamedTemporaryFile(suffix=".bin") as dump:
        dump.write(content)
        dump.flush()
        status, ours = readers.ours(program, dump.name)
        theirs = readers.theirs(dump.name)
        compare_tool(what, dump.name, ours)
    if status != problems:
        failures.append(f"{what}: the table is said to have: {status!r}, not {problems!r}")
    if len(ours) != count:
        failures.append(f"{what}: {len(ours)} structures of {count}")
    if [(one.handle, one.type, one.length) for one in ours] != \
            [(one.handle, one.type, one.length) for one in theirs]:
        failures.append(f"{what}: not the same structures")
    for one, other in zip(ours, theirs):
        failures.extend(f"{what}: {line}" for line in rules.differences(one, other))


def compare_tool(what, dump, ours):
    """Holds ortinv's text and JSON against the library's values."""
    text = readers.tool_text(tool, dump)
    document = readers.tool_json(tool, dump)
    if not len(text) == len(document) == len(ours):
        failures.append(f"{what}: ortinv has {len(text)} and {len(document)} structures")
    for one, shown, element in zip(ours, text, document):
        place = f"{what}: handle {one.handle}, type {one.type}"
        header = (one.handle, one.type, one.length)
        if header != (shown.handle, shown.type, shown.length) or \
                header != (element["handle"], element["type"], element["length"]):
            failures.append(f"{place}: another one in ortinv")
        if one.name and {name: value or "None" if isinstance(value, list) else value
                         for name, value in one.fields.items()} != shown.fields:
            failures.append(f"{place}: ortinv's text is {shown.fields}, not {one.fields}")
        if {key: readers.json_value(one, name) for key, name in one.keys.items()} != \
                element.get("fields", {}):
            failures.append(f"{place}: ortinv's JSON is {element}, not {one.fields}")


def compare_keywords(what, table):
    texts, _ = readers.keywords(program)
    with tempfile.NamedTemporaryFile(suffix=".bin") as dump:
        dump.write(tables.dump64(bytes(table.end().bytes)))
        dump.flush()
        _, ours = readers.ours(program, dump.name)
        for word, (kind, key) in texts.items():
            named = [(one, one.keys[key]) for one in ours if one.type == kind and key in one.keys]
            mine = [rules.value(one, name) for one, name in named if not rules.hides(one, name)]
            theirs = readers.run_dmidecode("--from-dump", dump.name, "-s", word).splitlines()
            if mine != theirs:
                failures.append(f"{what}: key word {word}: {mine}, dmidecode has {theirs}")
            shown = readers.run_ortinv(tool, dump.name, "--string", word).splitlines()
            if shown != [one.fields[name] for one, name in named]:
                failures.append(f"{what}: key word {word}: ortinv has {shown}")


def compare_groups(what, table):
    _, groups = readers.keywords(program)
    with tempfile.NamedTemporaryFile(suffix=".bin") as dump:
        dump.write(tables.dump64(bytes(table.end().bytes)))
        dump.flush()
        _, ours = readers.ours(program, dump.name)
        for word, types in groups.items():
            theirs = readers.theirs(dump.name, "-t", word)
            if [one.handle for one in ours if one.type in types] != [one.handle for one in theirs]:
                failures.append(f"{what}: key word {word}: not the same structures")
            listed = readers.run_ortinv(tool, dump.name, "--type", word, "--list").splitlines()[1:]
            if [one.handle for one in theirs] != [int(line.split()[0], 16) for line in listed]:
                failures.append(f"{what}: key word {word}: ortinv does not list the same")


def compare_sample():
    """The table of the simulated host's device, put into a dump for dmidecode."""
    table, count, version = tables.of_device(pathlib.Path(sample).read_bytes())
    compare_dump("the simulated host", tables.dump32(table, count, version), "", count)


def compare_broken():
    """A server whose firmware announces a structure too many, has one behind the
    end, and then bytes in which none can begin."""
    table = tables.two_socket_server()
    table.add(39, bytes(12), ("behind the end",))
    content = bytes(table.bytes)
    compare_dump("a broken server",
                 tables.dump32(content + b"\x01\x02\x03\x04\0\0", table.count + 1, (3, 6)),
                 f"{table.count + 1} structures are announced, {table.count} are there; "
                 "1 structures lie behind the end-of-table structure", table.count)
    cut = tables.blade().bytes[:-3 - len(tables.END)]
    count = tables.blade().count
    compare_dump("a table that is cut off", tables.dump32(bytes(cut), count),
                 f"the last structure runs over the table's end; {count} structures are "
                 f"announced, {count - 1} are there; there is no end-of-table structure",
                 count - 1)


def every_type():
    table = tables.Builder()
    for kind in range(127):
        table.add(kind, bytes(16), ("text",))
    return table


compare("two sockets", tables.two_socket_server())
compare("a blade", tables.blade())
compare_sample()
compare_broken()
compare("all values", tables.sweep(rows, 20261121))
compare("processor families", tables.processor_families(rows))
compare("all lengths", tables.generated(rows, 20261121, 3))
compare_keywords("two sockets", tables.two_socket_server())
compare_keywords("a blade", tables.blade())
compare_groups("every type", every_type())

failures.extend(f"explains nothing: {rule}" for rule in sorted(rules.unused))
for failure in failures:
    print(failure)
sys.exit(1 if failures else 0)
