#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs ortinv on three made-up hosts with every command, and checks each
document against the schema and each exit status against the document.

    schema_test.py SCHEMA FAKE_ORTINV ORTINV
"""
import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema

COMMANDS = [
    [],
    ["smbios"],
    *(["smbios", "--type", str(number)] for number in (0, 1, 9, 17, 127, 195, 204, 222)),
    ["smbios", "--list"],
    ["smbios", "--raw"],
    ["smbios", "--string", "system-serial-number"],
    ["smbios", "--string", "chassis-type"],
    ["pci", "0000:03:00.0"],
    ["pci", "0000:04:00.0"],
    ["pci", "ffff:ff:1f.7"],
    ["drive", "ABC123"],
    ["drive", "--exact", "ABC"],
    ["drive", "nothing"],
    ["host"],
    ["software"],
    ["software", "tools"],
    ["software", "nothing"],
    ["bmc", "address"],
    ["bmc", "mode"],
    ["bmc", "mode", "on"],
    ["bmc", "mode", "off"],
    *(["bmc", "interval", number] for number in ("8", "9", "10")),
    ["bmc", "interval", "9", "4294967295"],
    ["entity-mib"],
    ["entity-mib", "--write"],
    ["all"],
]


def expected_status(document):
    if document["problems"]:
        return 4 if any(problem["timed_out"] for problem in document["problems"]) else 3
    return 1 if document["missing"] is not None else 0


def check(validator, command):
    run = subprocess.run(command, capture_output=True, check=False)
    name = " ".join(command[1:])
    try:
        document = json.loads(run.stdout)
    except ValueError as error:
        return [f"{name}: no document: {error}\n{run.stderr.decode(errors='replace')}"]
    faults = [f"{name}: {error.json_path}: {error.message}" for error in validator.iter_errors(document)]
    if run.returncode != expected_status(document):
        faults.append(f"{name}: exit status {run.returncode}")
    lines = run.stderr.splitlines()
    wanted = len(document["problems"]) or (1 if document["missing"] is not None else 0)
    wanted += len(document["warnings"])
    if len(lines) != wanted:
        faults.append(f"{name}: {len(lines)} lines on standard error instead of {wanted}")
    return faults


def check_lines(validator, command):
    run = subprocess.run(command, capture_output=True, check=False)
    name = " ".join(command[1:])
    try:
        lines = [json.loads(line) for line in run.stdout.splitlines()]
    except ValueError as error:
        return [f"{name}: no JSON Lines: {error}"]
    faults = [f"{name}: {error.json_path}: {error.message}"
              for line in lines for error in validator.iter_errors(line)]
    sections = [line["section"] for line in lines]
    if sections.count("end") != 1 or sections[-1] != "end":
        faults.append(f"{name}: no single end: {sections}")
    elif run.returncode != expected_status(lines[-1]):
        faults.append(f"{name}: exit status {run.returncode}")
    return faults


def check_difference(validator, fake_ortinv, ortinv):
    """Compares two of the hosts."""
    with tempfile.TemporaryDirectory() as folder:
        files = [pathlib.Path(folder) / host for host in ("full", "odd")]
        for file in files:
            file.write_bytes(subprocess.run([fake_ortinv, file.name, "all", "--json"],
                                            capture_output=True, check=False).stdout)
        run = subprocess.run([ortinv, "diff", *files, "--json"], capture_output=True, check=False)
        document = json.loads(run.stdout)
    faults = [f"diff: {error.json_path}: {error.message}" for error in validator.iter_errors(document)]
    if run.returncode != 1 or not document["diff"]:
        faults.append(f"diff: exit status {run.returncode}, {len(document['diff'])} differences")
    return faults


def main():
    schema_file, fake_ortinv, ortinv = sys.argv[1:]
    with open(schema_file, encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft7Validator.check_schema(schema)
    validator = jsonschema.Draft7Validator(schema)
    line_validator = jsonschema.Draft7Validator(
        {"$ref": "#/definitions/line",
         "definitions": schema["definitions"], "properties": schema["properties"]})
    programs = [[fake_ortinv, host] for host in ("full", "odd", "bare")]
    faults = []
    for program in programs:
        for command in COMMANDS:
            faults += check(validator, program + command + ["--json"])
            faults += check_lines(line_validator, program + command + ["--jsonl"])
    # The real program, on whatever this machine is; nothing is changed.
    for command in (["host"], ["software"], ["smbios"], ["entity-mib"]):
        faults += check(validator, [ortinv] + command + ["--json"])
    faults += check_difference(validator, fake_ortinv, ortinv)
    # The check itself must be able to fail.
    if validator.is_valid({"schema": "ortinv/1", "revision": 2, "missing": None, "warnings": [],
                           "problems": [{"source": ""}]}):
        faults.append("the schema accepts anything")
    print("\n".join(faults) or f"{len(programs) * len(COMMANDS) + 5} documents are valid")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
