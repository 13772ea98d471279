#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds what is written about tvurevctl to its table of findings and its help.

usage: documents_test.py SOURCE_DIR CTL_ROWS TVUREVCTL
       documents_test.py --man CTL_ROWS   prints the manual's section FINDINGS

The manual page has every finding with its severity, text and remedy; the headings
that findings name are in docs/operations.md; every command and option stands in the
manual page and in the completion; every command's help has an example.
"""
import pathlib
import re
import subprocess
import sys

SEVERITIES = {"warn": "warn", "FAIL": "FAIL", "?": "cannot tell"}


def read_rows(program):
    output = subprocess.run([program], check=True, capture_output=True, text=True).stdout
    return [line.split("\t") for line in output.splitlines()]


def roff(text):
    """Words to be filled in stand in italics."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"\{(\w+)\}", r"\\fI\1\\fP", text)


def section(rows):
    lines = []
    for name, severity, text, remedy, _ in rows:
        if severity in SEVERITIES:
            lines += [".TP", f".BR {roff(name)} \" ({SEVERITIES[severity]})\"", roff(text)]
            lines += [roff(remedy)] if remedy else []
    return "\n".join(lines) + "\n"


def headings(path):
    """As anchors: lower case, blanks as hyphens, other signs left out."""
    found = re.findall(r"^#+ (.*)$", path.read_text(), re.MULTILINE)
    return {re.sub(r"[^a-z0-9 -]", "", heading.lower()).replace(" ", "-") for heading in found}


def help_of(tool, *words):
    return subprocess.run([tool, *words, "--help"], check=True, capture_output=True,
                          text=True).stdout


def main():
    if sys.argv[1] == "--man":
        print(section(read_rows(sys.argv[2])), end="")
        return 0
    source, program, tool = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
    rows = read_rows(program)
    page = (source / "man/tvurevctl.8").read_text()
    completion = (source / "ctl/tvurevctl.bash-completion").read_text()
    problems = []
    if section(rows) not in page:
        problems.append("man/tvurevctl.8: its findings are not those of ctl/rows.cc; "
                        "documents_test.py --man prints them")
    anchors = headings(source / "docs/operations.md")
    problems += [f"docs/operations.md has no heading for #{row[4]} of {row[0]}"
                 for row in rows if row[4] not in anchors]
    commands = re.findall(r"^  ([a-z][a-z-]*) +[A-Z]", help_of(tool), re.MULTILINE)
    if len(commands) < 9:
        problems.append(f"only the commands {commands} were found")
    for command in commands:
        text = help_of(tool, command)
        if f"Example: tvurevctl {command}" not in text:
            problems.append(f"the help of {command} has no example")
        for word in {command, *re.findall(r"--[a-z-]+", text)}:
            if roff(word) not in page:
                problems.append(f"man/tvurevctl.8 does not name {word}")
            if not re.search(rf"[\s\"]{word}[\s\"]", completion):
                problems.append(f"the completion does not know {word}")
    print("\n".join(problems) or f"{len(rows)} findings and {len(commands)} commands are written of")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
