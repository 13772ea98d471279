# SPDX-License-Identifier: Apache-2.0
"""Reads calls.table: how each function that the daemon imports can fail."""
import pathlib

TABLE = pathlib.Path(__file__).with_name("calls.table")


def read_table(path=TABLE):
    """Returns the faults, {function: [error, ...]}, the imported name of each
    function, and the names that are excused, {name: reason}."""
    faults, imported, excused = {}, {}, {}
    for line in path.read_text().splitlines():
        line = line.split("#")[0].strip()
        if not line:
            continue
        names, dash, reason = line.partition(" - ")
        if dash:
            excused.update(dict.fromkeys(names.split(), reason.strip()))
            continue
        name, *errors = line.split()
        name, _, other = name.partition("=")
        if not errors:
            raise ValueError(f"{path}: {name}: neither errors nor a reason")
        faults[name] = errors
        imported[name] = other or name
    return faults, imported, excused
