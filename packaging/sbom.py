# SPDX-License-Identifier: Apache-2.0
"""What the shipped programs hold and use, as an SPDX 2.3 document in JSON."""
import hashlib
import json
import os
import subprocess
import time

# What is linked into a program or used by it: SPDX's name of the relation, the
# Debian package whose version counts, licence, supplier, what it is for.
LIBRARIES = {
    "net-snmp": ("STATIC_LINK", None, "Net-SNMP", "Net-SNMP project",
                 "asn1.c and tools.c of the original source, in the bundle's tvurev"),
    "glibc": ("DYNAMIC_LINK", "libc6", "LGPL-2.1-or-later", "GNU project",
              "libc.so.6 and its loader, shipped in the bundle; static in tvurev-static"),
    "gcc-runtime": ("STATIC_LINK", "libstdc++6", "GPL-3.0-or-later WITH GCC-exception-3.1",
                    "GNU project", "libstdc++ and libgcc, in each program of the bundle"),
    "CLI11": ("STATIC_LINK", "libcli11-dev", "BSD-3-Clause", "University of Cincinnati",
              "headers only, in the command-line tools"),
    "nlohmann-json": ("STATIC_LINK", "nlohmann-json3-dev", "MIT", "Niels Lohmann",
                      "headers only, in the command-line tools"),
    "libsnmp40": ("DYNAMIC_LINK", "libsnmp40", "Net-SNMP", "Net-SNMP project",
                  "used by the Debian package's tvurev; brings libcrypto (Apache-2.0), not entered"),
}
NETSNMP = ("5.9.3", "b78f93276a80d40726d94956aa7d06fd8752b5c0624af5bbf155cbc33fd521d1")


def debian_version(package):
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=True,
                          capture_output=True, text=True).stdout.split("\n")[0]


def package(name, version, licence, supplier, comment, checksum=None):
    found = {
        "SPDXID": "SPDXRef-Package-" + name,
        "name": name,
        "versionInfo": version,
        "supplier": "Organization: " + supplier,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": licence,
        "copyrightText": "NOASSERTION",
        "comment": comment,
    }
    if checksum:
        found["checksums"] = [{"algorithm": "SHA256", "checksumValue": checksum}]
    return found


def relation(one, kind, other):
    return {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}


def file_entry(root, name):
    with open(os.path.join(root, name), "rb") as opened:
        content = opened.read()
    licence = "Apache-2.0"
    if "/lib/" in name:
        licence = "LGPL-2.1-or-later"
    return {
        "SPDXID": "SPDXRef-File-" + name.replace("/", "-").replace("_", "-"),
        "fileName": "./" + name,
        "checksums": [
            {"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
            {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()},
        ],
        "licenseConcluded": licence,
        "licenseInfoInFiles": [licence],
        "copyrightText": "NOASSERTION",
    }


def document(root, names, version, when):
    packages = [package("tvurev", version, "Apache-2.0", "tvurev authors",
                        "the bundle, the host's package, tvurev-static and the Debian packages")]
    relations = [relation("SPDXRef-DOCUMENT", "DESCRIBES", "SPDXRef-Package-tvurev")]
    for name, (kind, debian, licence, supplier, comment) in LIBRARIES.items():
        number, checksum = (debian_version(debian), None) if debian else NETSNMP
        packages.append(package(name, number, licence, supplier, comment, checksum))
        relations.append(relation("SPDXRef-Package-tvurev", kind, "SPDXRef-Package-" + name))
    files = [file_entry(root, name) for name in names]
    relations += [relation("SPDXRef-Package-tvurev", "CONTAINS", entry["SPDXID"]) for entry in files]
    content = hashlib.sha256(json.dumps([packages, files]).encode()).hexdigest()
    return json.dumps({
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": "tvurev-" + version,
        "documentNamespace": f"https://spdx.org/spdxdocs/tvurev-{version}-{content[:32]}",
        "creationInfo": {
            "created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(when)),
            "creators": ["Tool: tvurev-make-dist"],
        },
        "packages": packages,
        "files": files,
        "relationships": relations,
    }, indent=2).encode() + b"\n"
