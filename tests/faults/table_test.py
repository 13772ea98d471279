#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds calls.table to what the daemon imports and to what the library plays.

usage: table_test.py TVUREV LIBFAULT

Every imported function has a row, every row is imported or says where it would
be, and every function with errors is replaced by the library.
"""
import subprocess
import sys

from table import read_table

# The compiler's own: they hold tables and unwind, and fail by terminating.
COMPILERS = ("_ITM_", "_Z", "__cxa_", "__dynamic_cast", "__gmon_", "__gxx_", "_Unwind_", "__libc_start_main")


def symbols(program, which):
    output = subprocess.run(["nm", "-D", which, program], check=True, capture_output=True,
                            text=True).stdout
    return {line.split()[-1].split("@")[0] for line in output.splitlines()}


def main():
    daemon, library = sys.argv[1:]
    faults, imported, excused = read_table()
    imports = {name for name in symbols(daemon, "--undefined-only")
               if not name.startswith(COMPILERS)}
    replaced = symbols(library, "--defined-only")
    # What operator new, fopen and others of the C library call for the daemon.
    known = set(imported.values()) | set(excused)
    problems = [f"{name} is imported and has no row" for name in sorted(imports - known)]
    problems += [f"{name} has a row and is not replaced by libfault"
                 for name in sorted(set(imported.values()) - replaced)]
    problems += [f"{name} has errors and an excuse" for name in sorted(set(faults) & set(excused))]
    if len(imports) < 50:
        problems.append(f"only {len(imports)} imports were found")
    print("\n".join(problems) or f"{len(imports)} imports, {len(faults)} functions that can fail")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
