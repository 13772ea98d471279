# SPDX-License-Identifier: Apache-2.0
"""Reads what show_decoded, ortinv and dmidecode print."""
import dataclasses
import json
import os
import re
import subprocess

NUMBER, LIST = 1, 2  # of SmbValueShape
GIVEN = 0  # kSmbValueGiven
ENUMERATION, YES_NO = 3, 6  # of SmbValueKind


@dataclasses.dataclass
class Row:
    type: int
    key: str
    name: str
    kind: int
    offset: int
    width: int
    since: int
    bits: int
    words: dict


@dataclasses.dataclass
class Structure:
    """One structure: its fields by name, each a text or a list of texts."""
    handle: int
    type: int
    length: int
    name: str
    fields: dict = dataclasses.field(default_factory=dict)
    numbers: dict = dataclasses.field(default_factory=dict)
    keys: dict = dataclasses.field(default_factory=dict)
    has_number: dict = dataclasses.field(default_factory=dict)  # for programs


def _lines(program, mark):
    output = subprocess.run([program], capture_output=True, text=True, check=True).stdout
    return [line for line in output.splitlines() if line.startswith(mark)]


def keywords(program):
    """Key word of a text: type and key; key word of types: types."""
    texts = {word: (int(kind), key) for _, word, kind, key in
             (line.split("\t") for line in _lines(program, "K"))}
    groups = {word: set(map(int, types)) for _, word, *types in
              (line.split("\t") for line in _lines(program, "G"))}
    return texts, groups


def rows(program):
    found = []
    for line in _lines(program, "R"):
        _, kind_of, key, name, *numbers = line.split("\t")
        words = dict((int(number), text) for number, text in
                     (word.split("=", 1) for word in numbers[5:]))
        found.append(Row(int(kind_of), key, name, *map(int, numbers[:5]), words))
    return found


def ours(program, dump):
    """The table's problems in one text, and its structures."""
    lines = subprocess.run([program, dump], capture_output=True, text=True, check=True).stdout
    status, structures = "", []
    for line in lines.splitlines():
        mark, *parts = line.split("\t")
        if mark == "P":
            status = parts[0]
        elif mark == "S":
            handle, kind, length, _, name = parts
            structures.append(Structure(int(handle), int(kind), int(length), name))
        elif mark == "V":
            key, name, kind, shape, state, number, text = parts
            last = structures[-1]
            last.fields[name] = [] if int(shape) == LIST else text
            last.numbers[name] = int(number)
            last.keys[key] = name
            last.has_number[name] = (int(shape), int(state)) == (NUMBER, GIVEN) and \
                int(kind) not in (ENUMERATION, YES_NO)
        elif mark == "I":
            structures[-1].fields[name].append(parts[0])
    return status, structures


def run_dmidecode(*arguments):
    environment = dict(os.environ, PATH=os.environ["PATH"] + ":/usr/sbin:/sbin", LC_ALL="C")
    return subprocess.run(["dmidecode", *arguments], capture_output=True, check=True,
                          env=environment).stdout.decode("latin-1")


def json_value(structure, name):
    """What a program is to get of a field."""
    value = structure.fields[name]
    if not structure.has_number[name]:
        return value
    number = structure.numbers[name]
    return number - (1 << 64) if number >> 63 else number


def run_ortinv(tool, dump, *arguments):
    """Its standard output; status 1 is that nothing was found."""
    done = subprocess.run([tool, "smbios", "--from-dump", dump, *arguments], capture_output=True,
                          text=True, check=False)
    if done.returncode not in (0, 1):
        raise RuntimeError(f"ortinv {arguments}: {done.returncode}: {done.stderr}")
    return done.stdout


def tool_text(tool, dump):
    return _structures(run_ortinv(tool, dump))


def tool_json(tool, dump):
    return json.loads(run_ortinv(tool, dump, "--json"))["smbios"]


def theirs(dump, *arguments):
    """What dmidecode says of each structure."""
    return _structures(run_dmidecode("--from-dump", dump, *arguments))


def _structures(text):
    structures = []
    last, prefix = None, ""
    for line in text.split("\n"):
        header = re.match(r"Handle (0x\w+), (?:DMI )?type (\d+), (\d+) bytes", line)
        if header:
            structures.append(Structure(int(header[1], 16), int(header[2]), int(header[3]), ""))
            prefix = ""
        elif structures and line.startswith("\t\t"):
            fields = structures[-1].fields
            if line.strip() == "<BAD INDEX>":  # a string that is not there
                continue
            if not isinstance(fields[last], list):
                fields[last] = [fields[last]] if fields[last] else []
            fields[last].append(line.lstrip("\t"))
        elif structures and line.startswith("\t"):
            last, _, value = line[1:].partition(":")
            last = prefix + last
            structures[-1].fields[last] = value[1:]
        elif structures and line:
            # A structure of several devices is shown in as many parts.
            device = re.match(r"On Board Device (\d+) Information", line)
            prefix = f"{device[1]} " if device else ""
            structures[-1].name = line
    return structures
