# SPDX-License-Identifier: Apache-2.0
"""The archives that are shipped. The same files, names and time give the same
bytes, whoever writes them and wherever."""
import gzip
import hashlib
import io
import os
import tarfile
from xml.etree import ElementTree
import time


def tar(root, top, when):
    """An ustar archive of what lies below root/top for each name of top,
    directories only below /opt/ortdv: the others are the host's."""
    buffer = io.BytesIO()
    with tarfile.open(fileobj=buffer, mode="w", format=tarfile.USTAR_FORMAT) as archive:
        for name in sorted(files_below(root, top)):
            member = archive.gettarinfo(os.path.join(root, name), name)
            member.uid = member.gid = 0
            member.uname = member.gname = "root"
            member.mtime = when
            if member.isreg():
                with open(os.path.join(root, name), "rb") as content:
                    archive.addfile(member, content)
            elif member.issym() or name.startswith("opt/ortdv"):
                archive.addfile(member)
    return buffer.getvalue()


def files_below(root, top):
    for start in top:
        yield start
        for folder, folders, files in os.walk(os.path.join(root, start)):
            for name in folders + files:
                yield os.path.relpath(os.path.join(folder, name), root)


def gzipped(content, when):
    buffer = io.BytesIO()
    with gzip.GzipFile(filename="", mode="wb", compresslevel=9, fileobj=buffer, mtime=when) as out:
        out.write(content)
    return buffer.getvalue()


def ar(members, when):
    """An ar archive of (name, content), names of up to 16 characters."""
    parts = [b"!<arch>\n"]
    for name, content in members:
        assert len(name) <= 16, name
        parts.append(b"%-16s%-12d%-6d%-6d%-8o%-10d`\n" %
                     (name.encode(), when, 0, 0, 0o100644, len(content)))
        parts.append(content + b"\n" * (len(content) % 2))
    return b"".join(parts)


def vib(root, top, version, when):
    """The host's package: descriptor, no signature (the community level has
    none), payload."""
    unpacked = tar(root, top, when)
    payload = gzipped(unpacked, when)
    return ar([("descriptor.xml", descriptor(unpacked, payload, version, when)),
               ("sig.pkcs7", b""), ("tvurev", payload)], when)


def descriptor(unpacked, payload, version, when):
    vib_element = ElementTree.Element("vib", version="5.0")

    def add(tag, text=None, parent=vib_element, attributes=None):
        element = ElementTree.SubElement(parent, tag, attributes or {})
        element.text = text
        return element

    add("type", "bootbank")
    add("name", "tvurev")
    add("version", version + "-1")
    add("vendor", "tvurev")
    add("summary", "Relays BMC notifications as SNMP traps")
    add("description", "Receives the notifications of the server's management controller and "
        "sends each as an SNMPv1 trap to the trap receivers of the host's SNMP agent.")
    add("release-date", time.strftime("%Y-%m-%dT%H:%M:%S+00:00", time.gmtime(when)))
    add("urls")
    relationships = add("relationships")
    for name in ("depends", "conflicts", "replaces", "provides", "compatibleWith"):
        add(name, parent=relationships)
    add("software-tags")
    add("maintenance-mode", "false", parent=add("system-requires"))
    file_list = add("file-list")
    with tarfile.open(fileobj=io.BytesIO(unpacked)) as archive:
        for member in archive:
            if not member.isdir():
                add("file", member.name, parent=file_list)
    add("acceptance-level", "community")
    add("live-install-allowed", "true")
    add("live-remove-allowed", "true")
    add("cimom-restart", "false")
    add("stateless-ready", "true")
    add("overlay", "false")
    one = add("payload", None, add("payloads"),
              {"name": "tvurev", "type": "tgz", "size": str(len(payload))})
    add("checksum", hashlib.sha256(payload).hexdigest(), one, {"checksum-type": "sha-256"})
    for kind, algorithm in (("sha-256", hashlib.sha256), ("sha-1", hashlib.sha1)):
        add("checksum", algorithm(unpacked).hexdigest(), one,
            {"checksum-type": kind, "verify-process": "gunzip"})
    ElementTree.indent(vib_element)
    return ElementTree.tostring(vib_element, encoding="UTF-8", xml_declaration=True) + b"\n"
