#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds docs/oddities.md to the sources and the tests.

usage: oddities_test.py SOURCE_DIR

Every entry that a comment names is there, every entry is named by a comment or a
public header, and every test that an entry names exists.
"""
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
page = (source / "docs/oddities.md").read_text()
entries = dict(re.findall(r"^### (\S+)\n(.*?)(?=^##|\Z)", page, re.S | re.M))
failures = []

FOLDERS = ("base", "wire", "log", "bmc", "snmp_pp", "trap", "daemon", "smbios", "hostinfo",
           "include", "ortinv", "lab")
named = set()
for folder in FOLDERS:
    for path in (source / folder).rglob("*"):
        if path.suffix not in (".h", ".cc"):
            continue
        # A comment's lines become one: a name may stand on the next.
        text = re.sub(r"\n\s*(?://|\*)\s*", " ", path.read_text())
        for slugs in re.findall(r"oddities\.md: ([a-z0-9-]+(?:(?:,| and) [a-z0-9-]+)*)", text):
            for slug in re.split(r", | and ", slugs):
                if slug in entries:
                    named.add(slug)
                elif slug == slugs or "-" in slug:
                    failures.append(f"{path.relative_to(source)} names {slug}, which has no entry")

tests = set()
for path in (source / "tests").rglob("*.cc"):
    for suite, test in re.findall(r"^TEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\)", path.read_text(), re.M):
        tests.add(f"{suite}.{test}")

for slug, text in entries.items():
    held_by = re.findall(r"`(\w+\.\w+)`", text.split("Held by")[-1]) if "Held by" in text else []
    if not held_by:
        failures.append(f"{slug}: no test holds it")
    failures += [f"{slug}: there is no test {test}" for test in held_by if test not in tests]

if len(entries) < 30:
    failures.append(f"only {len(entries)} entries were found")
print("\n".join(failures) or f"{len(entries)} oddities, {len(named)} of them named in the sources")
sys.exit(1 if failures else 0)
