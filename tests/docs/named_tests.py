#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds the tests that a page names to those that there are.

usage: named_tests.py SOURCE_DIR PAGE...

A name is `Suite.Test` as in the sources, or "fuzz target(s)" followed by names.
"""
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
tests = set()
for path in (source / "tests").rglob("*.cc"):
    for suite, test in re.findall(r"^TEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\)", path.read_text(), re.M):
        tests.add(f"{suite}.{test}")
targets = {path.name.removesuffix("_fuzz.cc") for path in (source / "tests/fuzz").glob("*_fuzz.cc")}

failures = []
for page in sys.argv[2:]:
    text = (source / page).read_text()
    named = re.findall(r"`([A-Z]\w+\.[A-Z]\w+)`", text)
    fuzzed = [name for names in re.findall(r"fuzz targets? ((?:`\w+`(?:, )?)+)", text)
              for name in re.findall(r"\w+", names)]
    failures += [f"{page}: there is no test {name}" for name in named if name not in tests]
    failures += [f"{page}: there is no fuzz target {name}" for name in fuzzed if name not in targets]
    if len(named) < 10:
        failures.append(f"{page}: only {len(named)} tests are named")
    print(f"{page} names {len(set(named))} tests and {len(set(fuzzed))} fuzz targets")
print("\n".join(failures))
sys.exit(1 if failures else 0)
