#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds the table of docs/receivers.md to the tests and to docs/oddities.md.

usage: receivers_test.py SOURCE_DIR

Every row of "What changes on the way" names a test (named_tests.py looks for it), and
every row whose reason is an oddity names an entry.
"""
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
page = (source / "docs/receivers.md").read_text()
oddities = set(re.findall(r"^### (\S+)$", (source / "docs/oddities.md").read_text(), re.M))
failures = []

section = page.split("\n## What changes on the way\n")[1].split("\n## ")[0]
rows = [[cell.strip() for cell in line.strip("|").split("|")]
        for line in section.splitlines() if line.startswith("|")][2:]
for what, _, held_by, why in rows:
    if not re.search(r"`\w+\.\w+`", held_by):
        failures.append(f"{what}: no test holds it")
    # A reason of one word is the name of an entry.
    if " " not in why and why not in oddities:
        failures.append(f"{what}: there is no oddity {why}")

if len(rows) < 12:
    failures.append(f"only {len(rows)} rows were found")
print("\n".join(failures) or f"{len(rows)} rows, each with its test")
sys.exit(1 if failures else 0)
