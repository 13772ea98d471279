#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds the build to the table of folders in docs/architecture.md.

usage: arrows_test.py SOURCE_DIR BUILD_DIR COMPILER

Every production source must be compiled with the include root of its folder and
no other folder of ours; and what the compiler finds in such a root must be what
the table allows. Two wrong includes are compiled for real and must fail.
"""
import json
import pathlib
import re
import subprocess
import sys

source, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
compiler = sys.argv[3]
roots = build / "include-roots"
failures = []


def read_table():
    """Folder -> the folders that it may include from."""
    rows = {}
    for line in (source / "docs/architecture.md").read_text().splitlines():
        cells = [cell.strip() for cell in line.split("|")]
        if len(cells) == 5 and re.fullmatch(r"`[\w/]+/`", cells[1]):
            rows[cells[1].strip("`").rstrip("/")] = {
                name.rstrip("/") for name in re.findall(r"`([\w/]+/)`", cells[3])}
    rows["daemon"] = set(list(rows)[: list(rows).index("daemon")])  # "all of the above"
    return rows


def headers_of(folder):
    return sorted(str(path.relative_to(source)) for path in (source / folder).rglob("*.h"))


def compiles(text, root):
    return subprocess.run(
        [compiler, "-std=c++20", "-fsyntax-only", "-x", "c++", "-", f"-I{root}",
         f"-I{source}/snmp_pp/include", f"-I{source}/include"],
        input=text, text=True, capture_output=True, cwd=roots)


def found_in(root, headers):
    """Which of the headers the compiler finds in the root."""
    probes = "".join(f'#if __has_include("{header}")\nfound {header}\n#endif\n'
                     for header in headers)
    output = subprocess.run([compiler, "-std=c++20", "-E", "-P", "-x", "c++", "-", f"-I{root}"],
                            input=probes, text=True, capture_output=True, check=True, cwd=roots)
    return {line.removeprefix("found ") for line in output.stdout.splitlines()
            if line.startswith("found ")}


table = read_table()
folders = [folder for folder in table if (roots / folder).is_dir()]
if len(folders) < 8:
    failures.append(f"only {folders} have an include root")

for folder in folders:
    for other in table:
        if other in (folder, "tests") or not (source / other).is_dir():
            continue
        found = found_in(roots / folder, headers_of(other))
        if other not in table[folder] and found:
            failures.append(f"{folder}/ can include {sorted(found)}")

for entry in json.loads((build / "compile_commands.json").read_text()):
    path = pathlib.Path(entry["file"])
    if not path.is_relative_to(source):
        continue
    folder = path.relative_to(source).parts[0]
    if folder not in folders or re.search(r"-o tests/", entry["command"]):
        continue
    for include in re.findall(r"-(?:I|isystem )\s*(\S+)", entry["command"]):
        include = pathlib.Path(include)
        ours = include.is_relative_to(source)
        own = include == roots / folder
        class_headers = include == source / "snmp_pp/include" and (
            folder == "snmp_pp" or "snmp_pp" in table[folder])
        public = include == source / "include"
        if ours and not (own or class_headers or public):
            failures.append(f"{path} is compiled with -I{include}")

for folder, header in (("bmc", "trap/trap_sender.h"), ("daemon", "bmc/kcs.h")):
    right = compiles('#include "log/log.h"\n', roots / folder)
    wrong = compiles(f'#include "{header}"\n', roots / folder)
    if right.returncode != 0:
        failures.append(f"{folder}/ cannot include log/log.h: {right.stderr}")
    if wrong.returncode == 0 or not re.search("No such file|file not found", wrong.stderr):
        failures.append(f"{folder}/ can include {header}")

for path in source.glob("*/**/*.[hc]*"):
    if "build" in path.relative_to(source).parts or path.suffix not in (".h", ".cc", ".c"):
        continue
    if re.search(r'#include "\.\.?/', path.read_text()):
        failures.append(f"{path} includes by a relative path")

print("\n".join(failures) or f"{len(folders)} folders include as the table says")
sys.exit(1 if failures else 0)
