#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints the functions that <ortinv/ortinv.h> declares, one a line, sorted. Goes by
what the compiler reads, and not by the mark that exports them.

usage: declared_functions.py INCLUDE_DIR C_COMPILER
"""
import pathlib
import re
import subprocess
import sys

include, compiler = pathlib.Path(sys.argv[1]), sys.argv[2]
output = subprocess.run(
    [compiler, "-std=c11", f"-I{include}", "-E", "-x", "c", "-"],
    input="#include <ortinv/ortinv.h>\n", text=True, capture_output=True, check=True).stdout

own = include / "ortinv"
file, text, seen = None, "", set()
for line in output.splitlines():
    marker = re.match(r'# \d+ "(.*?)"', line)
    if marker:
        file = pathlib.Path(marker[1])
        seen.add(file)
    elif file.parent == own:
        text += line + "\n"

missing = set(own.glob("*.h")) - seen
if missing:
    sys.exit(f"ortinv.h does not include {sorted(path.name for path in missing)}")
text = text.replace('__attribute__((visibility("default")))', "")
names = re.findall(r"\b(\w+)\s*\([^(){}]*\)\s*;", text)
print("\n".join(sorted(set(names))))
