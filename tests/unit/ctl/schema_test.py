#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Validates what tvurevctl --json prints on a host without tvurev against its schema.

usage: schema_test.py SOURCE_DIR BUILD_DIR

One sandbox for all commands; each prints one document and its exit status.
"""
import json
import pathlib
import subprocess
import sys

import jsonschema

COMMANDS = ["check", "check --no-bmc --no-probe", "status", "test-trap", "test-trap --oid "
            "1.3.6.1.4.1.32473.1.0.9", "restart", "stop", "debug", "debug on chif", "debug off",
            "forget", "mode", "report --output /tmp"]


def main():
    source, build = sys.argv[1:]
    script = "".join(f"tvurevctl {command} --json; echo; echo @$?@; " for command in COMMANDS)
    # The receiver's name holds bytes that are no UTF-8.
    script = (r"printf '<enable>true</enable>\n<targets>\377\376@162 s3cret</targets>\n' "
              ">/etc/vmware/snmp.xml; " + script.replace("echo; echo @$?@", "echo @$?@"))
    output = subprocess.run([f"{source}/lab/sandbox", "--build", build, "--", "sh", "-c", script],
                            capture_output=True, timeout=100)
    schema = json.loads((pathlib.Path(source) / "docs/tvurevctl.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    pieces = output.stdout.decode("utf-8").split("@\n")
    problems = []
    for command, piece in zip(COMMANDS, pieces):
        text, status = piece.rsplit("@", 1)
        document = json.loads(text)
        jsonschema.validate(document, schema)
        if document.get("exit", int(status)) != int(status):
            problems.append(f"{command}: status {status}, and the document says {document['exit']}")
        if "s3cret" in text:
            problems.append(f"{command} shows a community")
    if len(pieces) != len(COMMANDS) + 1 or output.stderr:
        problems.append(f"{len(pieces) - 1} of {len(COMMANDS)} documents: {output.stderr}")
    print("\n".join(problems) or f"{len(COMMANDS)} documents are as the schema says")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
