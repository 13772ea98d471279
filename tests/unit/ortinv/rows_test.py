#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares what people and programs read about ortinv - the schema, the
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


def list_schema(item, least, most):
    return {"type": "array", "items": item, "minItems": least, "maxItems": most}


def number_schema(bits):
    return {"type": "integer", "minimum": 0, "maximum": 2**bits - 1}


def field_schema(field):
    kind, count = field["kind"], field["count"]
    if kind == "text":
        return {"type": "string"}
    if kind == "bytes":
        return list_schema(number_schema(8), count, count)
    if kind == "port maps":
        port = {"type": "object", "required": ["connection", "bay"], "additionalProperties": False,
                "properties": {"connection": number_schema(8), "bay": number_schema(8)}}
        return list_schema(list_schema(port, 8, 8), 0, count)
    return number_schema(int(kind.removeprefix("u")))


rows = json.loads(output_of(rows_program))
records = {row["type"]: row for row in rows["types"]}
standard = {row["type"]: row for row in rows["standard"]}
types = sorted(records | standard)
selectors = [row["selector"] for row in rows["intervals"]]
names = [rows["mode"]["name"]] + [row["name"] for row in rows["intervals"]]
manual = (source / "man/ortinv.1").read_text().replace("\\-", "-")

schema = json.loads(schema_file.read_text())
definitions = schema["definitions"]
listed = [choice["$ref"].rsplit("/", 1)[1]
          for choice in schema["properties"]["smbios"]["items"]["oneOf"]]
expect("structure types of the schema", [f"smbios_{number}" for number in types] + ["smbios_other"],
       listed)
expect("other types of the schema", types, definitions["smbios_other"]["properties"]["type"]["not"]["enum"])
of_every_structure = ["type", "name", "handle", "length", "behind_end", "cut", "strings", "bytes"]
for number in types:
    properties = definitions[f"smbios_{number}"]["properties"]
    row = standard.get(number, records.get(number))
    expect(f"number and name of type {number}", ({"const": number}, {"const": row["name"]}),
           (properties["type"], properties["name"]))
    if number in standard:
        expect(f"fields of type {number}", standard[number]["keys"],
               list(properties["fields"]["properties"]))
    fields = {field["key"]: field_schema(field) for field in records[number]["fields"]} \
        if number in records else {}
    expect(f"record fields of type {number}", fields,
           {key: value for key, value in properties.items()
            if key not in of_every_structure + ["fields"]})
expect("selectors of the schema", selectors,
       definitions["bmc_interval"]["properties"]["selector"]["enum"])



def completed(*words):
    return output_of(tool, "--complete", *words).splitlines()


def lines_of_help(heading, *words):
    """The first words of a section's lines, without those that go on."""
    sections = output_of(tool, *words, "--help").split(f"\n{heading}:\n")
    lines = sections[1].split("\n\n")[0].splitlines() if len(sections) > 1 else []
    return [line.strip() for line in lines]


def options_of_help(*words):
    return [re.search(r"--[a-z-]+", line)[0] for line in lines_of_help("Options", *words)]


def listed_in_help(name):
    return re.search(rf"^{name}: (.*)$", output_of(tool, "smbios", "--help"), re.M)[1].split()


keywords = rows["keywords"]
expect("key words of the help", keywords, listed_in_help("KEYWORD"))
expect("key words of the completion", keywords, completed("smbios", "--string"))
expect("types of the help", [str(number) for number in types],
       [word for word in listed_in_help("TYPES") if word.isdigit()])
expect("types of the completion", listed_in_help("TYPES"), completed("smbios", "--type"))
for word in listed_in_help("TYPES"):
    if not word.isdigit() and not re.search(rf"\b{word}\b", manual):
        faults.append(f"the manual does not name the type key word {word}")

expect("selectors of the help", selectors,
       numbers_in(lines_of_help("Arguments", "bmc", "interval")[0]))
expect("selectors of the completion", [str(number) for number in selectors],
       [word for word in completed("bmc", "interval") if word.isdigit()])
expect("selectors of the manual", selectors,
       numbers_in(re.search(r"bmc interval \"(.*?)VALUE", manual)[1]))
expect("variables of the manual", sorted(names), sorted(set(re.findall(r"KXHVM\w", manual))))

commands = [line.split()[0] for line in lines_of_help("Commands")]
of_bmc = [line.split()[0] for line in lines_of_help("Commands", "bmc")]
expect("commands of the completion", sorted(commands),
       sorted(word for word in completed() if not word.startswith("-")))
expect("commands of bmc in the completion", of_bmc,
       [word for word in completed("bmc") if not word.startswith("-")])
section = manual.split(".SH COMMANDS")[1].split(".SH")[0]
headings = [quoted or plain for quoted, plain in
            re.findall(r'^\.TP\n\.B[RI]? (?:"([^"]+)"|([^"\n]+))', section, re.M)]
headings = [re.match(r"bmc \w+|[\w-]+", heading)[0] for heading in headings]
wanted = [f"bmc {word}" for word in of_bmc] + [word for word in commands if word != "bmc"]
expect("commands of the manual", sorted(wanted), sorted(headings))

every_option = set(options_of_help())
for command in wanted:
    words = command.split()
    options = options_of_help(*words)
    every_option |= set(options)
    expect(f"options of {command} in the completion", sorted(options),
           sorted(word for word in completed(*words) if word.startswith("--")))
expect("options of the manual", sorted(every_option),
       sorted(set(re.findall(r"--[a-z][a-z-]*[a-z]", re.sub(r"--(complete|dump-bin)", "", manual)))))

report = (source / "ortinv/report.h").read_text()
expect("exit statuses of the manual", re.findall(r"kExit\w+ = (\d)", report),
       re.findall(r"^\.B (\d)$", manual.split(".SH EXIT STATUS")[1].split(".SH")[0], re.M))

print("\n".join(faults) or f"{len(types)} types, {len(selectors)} selectors and "
      f"{len(wanted)} commands are the same everywhere")
sys.exit(1 if faults else 0)
