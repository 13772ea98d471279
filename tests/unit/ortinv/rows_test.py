#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares what people and programs read about ortinv - the schema, the bash
completion, the manual and the help - with the library's rows and the tool's own
commands: everything is there, and nothing else.

    rows_test.py SOURCE_DIR ROWS_PROGRAM ORTINV SCHEMA
"""
import json
import pathlib
import re
import subprocess
import sys

source, rows_program, tool = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
schema_file = pathlib.Path(sys.argv[4])
faults = []


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def expect(what, wanted, got):
    if wanted != got:
        faults.append(f"{what}: expected {wanted}, got {got}")


def numbers_in(text):
    return [int(number) for number in re.findall(r"\d+", text)]


def list_schema(item, count):
    return {"type": "array", "items": item, "minItems": count, "maxItems": count}


def number_schema(bits):
    return {"type": "integer", "minimum": 0, "maximum": 2**bits - 1}


def field_schema(field):
    kind, count = field["kind"], field["count"]
    if kind == "text":
        return {"type": "string"}
    if kind == "bytes":
        return list_schema(number_schema(8), count)
    if kind == "port maps":
        port = {"type": "object", "required": ["connection", "bay"], "additionalProperties": False,
                "properties": {"connection": number_schema(8), "bay": number_schema(8)}}
        return list_schema(list_schema(port, 8), count)
    return number_schema(int(kind.removeprefix("u")))


def record_schema(row):
    properties = {"type": {"const": row["type"]}, "handle": number_schema(16)}
    properties |= {field["key"]: field_schema(field) for field in row["fields"]}
    return {"type": "object", "description": row["name"], "properties": properties,
            "required": list(properties), "additionalProperties": False}


rows = json.loads(output_of(rows_program))
types = [row["type"] for row in rows["types"]]
selectors = [row["selector"] for row in rows["intervals"]]
names = [rows["mode"]["name"]] + [row["name"] for row in rows["intervals"]]
manual = (source / "man/ortinv.1").read_text().replace("\\-", "-")
completion = (source / "ortinv/ortinv.bash-completion").read_text()

schema = json.loads(schema_file.read_text())
definitions = schema["definitions"]
listed = [choice["$ref"].rsplit("/", 1)[1]
          for choice in schema["properties"]["smbios"]["items"]["oneOf"]]
expect("record types of the schema", types,
       [definitions[name]["properties"]["type"]["const"] for name in listed])
for name, row in zip(listed, rows["types"]):
    expect(f"schema of {name}", record_schema(row), definitions[name])
expect("selectors of the schema", selectors,
       definitions["bmc_interval"]["properties"]["selector"]["enum"])

help_of_smbios = output_of(tool, "smbios", "--help")
expect("types of the help", types, numbers_in(re.search(r"Only this type: (.*)", help_of_smbios)[1]))
expect("types that the help accepts", types, numbers_in(re.search(r"\{(.*)\}", help_of_smbios)[1]))
help_of_interval = output_of(tool, "bmc", "interval", "--help")
expect("selectors of the help", selectors,
       numbers_in(re.search(r"selector .*REQUIRED\s+(.*)", help_of_interval)[1]))
expect("selectors that the help accepts", selectors,
       numbers_in(re.search(r"selector .*\{(.*)\}", help_of_interval)[1]))

completed = output_of("bash", "-c", 'source "$1"; COMP_WORDS=("$2" smbios --type ""); '
                      'COMP_CWORD=3; _ortinv; echo "${COMPREPLY[*]}"', "-",
                      source / "ortinv/ortinv.bash-completion", tool)
expect("types of the completion", types, numbers_in(completed))
expect("selectors of the completion", selectors,
       numbers_in(re.search(r'"bmc interval"\).*words\+="(.*)"', completion)[1]))

expect("selectors of the manual", selectors,
       numbers_in(re.search(r"bmc interval \"(.*?)VALUE", manual)[1]))
expect("variables of the manual", sorted(names), sorted(set(re.findall(r"KXHVM\w", manual))))


def commands_in_help(*words):
    lines = output_of(tool, *words, "--help").split("Subcommands:")[1].splitlines()
    return [line.split()[0] for line in lines if re.match(r"  \S", line)]


commands = commands_in_help()
of_bmc = commands_in_help("bmc")
words = re.search(r'-eq 1 \]; then\n +words="(.*?) --help', completion)[1].split()
expect("commands of the completion", sorted(commands), sorted(words))
words = re.search(r'"\$COMP_CWORD" -eq 2 \]; then\n +words="(.*?) --help', completion)[1].split()
expect("commands of bmc in the completion", of_bmc, words)
section = manual.split(".SH COMMANDS")[1].split(".SH")[0]
headings = [quoted or plain for quoted, plain in
            re.findall(r'^\.TP\n\.B[RI]? (?:"([^"]+)"|([^"\n]+))', section, re.M)]
wanted = [f"bmc {word}" for word in of_bmc] + [word for word in commands if word != "bmc"]
expect("commands of the manual", sorted(wanted), sorted(heading.strip() for heading in headings))

print("\n".join(faults) or f"{len(types)} types, {len(selectors)} selectors and "
      f"{len(wanted)} commands are the same everywhere")
sys.exit(1 if faults else 0)
