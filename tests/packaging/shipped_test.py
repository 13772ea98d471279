#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""What is in dist/, seen by a reader of its own: the archives byte by byte, the
programs by readelf and objdump. Knows nothing of what wrote them.

usage: shipped_test.py DIST [DIST-OF-A-SECOND-BUILD]"""
import glob
import gzip
import hashlib
import io
import json
import os
import re
import subprocess
import sys
import tarfile
import tempfile
import unittest
from xml.etree import ElementTree

DIST = sys.argv[1]
SECOND = sys.argv[2] if len(sys.argv) > 2 else None
EPOCH = int(os.environ["SOURCE_DATE_EPOCH"])

ALLOWED_MEMBER = re.compile(
    r"opt/ortdv(/[\w.+/-]+)?|etc/init\.d/tvurev|etc/vmware/firewall/[\w-]+\.xml")


def the_file(pattern):
    found = glob.glob(os.path.join(DIST, pattern))
    assert len(found) == 1, (pattern, found)
    return found[0]


def content_of(path):
    with open(path, "rb") as opened:
        return opened.read()


def ar_members(archive):
    """(name, content) of each; every field of a header is looked at."""
    assert archive[:8] == b"!<arch>\n"
    at = 8
    members = []
    while at < len(archive):
        header = archive[at:at + 60]
        assert len(header) == 60 and header[58:] == b"`\n"
        name = header[0:16].decode().rstrip(" ")
        assert int(header[16:28]) == EPOCH and int(header[28:34]) == 0 and int(header[34:40]) == 0
        assert int(header[40:48], 8) == 0o100644
        size = int(header[48:58])
        content = archive[at + 60:at + 60 + size]
        assert len(content) == size
        at += 60 + size
        if size % 2 == 1:
            assert archive[at:at + 1] == b"\n"
            at += 1
        members.append((name, content))
    return members


def tar_headers(unpacked):
    """Name, type, mode, owner, group, size, time, magic of each member, read
    from the 512 bytes of its header."""
    at = 0
    headers = []
    while unpacked[at:at + 512] != bytes(512):
        header = unpacked[at:at + 512]

        def number(start, end):
            return int(header[start:end].rstrip(b"\0 ") or b"0", 8)

        def text(start, end):
            return header[start:end].split(b"\0")[0].decode()

        expected = sum(header[:148]) + 8 * 32 + sum(header[156:])
        assert number(148, 156) == expected, "checksum of a header"
        name = text(0, 100)
        prefix = text(345, 500)
        headers.append({"name": prefix + "/" + name if prefix else name, "mode": number(100, 108),
                        "uid": number(108, 116), "gid": number(116, 124), "size": number(124, 136),
                        "time": number(136, 148), "type": header[156:157], "magic": header[257:265]})
        at += 512 + (headers[-1]["size"] + 511) // 512 * 512
    assert not unpacked[at:].strip(b"\0"), "something behind the end"
    return headers


class HostPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.members = ar_members(content_of(the_file("tvurev-*.x86_64.vib")))
        cls.payload = cls.members[2][1]
        cls.unpacked = gzip.decompress(cls.payload)
        cls.headers = tar_headers(cls.unpacked)
        cls.xml = ElementTree.fromstring(cls.members[0][1])

    def test_members(self):
        self.assertEqual([name for name, _ in self.members],
                         ["descriptor.xml", "sig.pkcs7", "tvurev"])
        self.assertEqual(self.members[1][1], b"")

    def test_an_ordinary_ar_reads_it(self):
        listed = subprocess.run(["ar", "t", the_file("tvurev-*.x86_64.vib")], check=True,
                                capture_output=True, text=True).stdout.split()
        self.assertEqual(listed, ["descriptor.xml", "sig.pkcs7", "tvurev"])

    def test_payload_is_what_the_descriptor_says(self):
        (payload,) = self.xml.findall("payloads/payload")
        self.assertEqual(payload.attrib,
                         {"name": "tvurev", "type": "tgz", "size": str(len(self.payload))})
        found = {(entry.get("checksum-type"), entry.get("verify-process")): entry.text
                 for entry in payload.findall("checksum")}
        self.assertEqual(found, {
            ("sha-256", None): hashlib.sha256(self.payload).hexdigest(),
            ("sha-256", "gunzip"): hashlib.sha256(self.unpacked).hexdigest(),
            ("sha-1", "gunzip"): hashlib.sha1(self.unpacked).hexdigest()})

    def test_descriptor(self):
        self.assertEqual(self.xml.tag, "vib")
        self.assertEqual(self.xml.attrib, {"version": "5.0"})
        self.assertEqual([child.tag for child in self.xml], [
            "type", "name", "version", "vendor", "summary", "description", "release-date", "urls",
            "relationships", "software-tags", "system-requires", "file-list", "acceptance-level",
            "live-install-allowed", "live-remove-allowed", "cimom-restart", "stateless-ready",
            "overlay", "payloads"])
        for name, value in (("type", "bootbank"), ("name", "tvurev"),
                            ("acceptance-level", "community"), ("live-install-allowed", "true"),
                            ("live-remove-allowed", "true"), ("cimom-restart", "false"),
                            ("stateless-ready", "true"), ("overlay", "false"),
                            ("system-requires/maintenance-mode", "false")):
            self.assertEqual(self.xml.findtext(name), value, name)
        version = re.search(r"tvurev-([0-9.]+)\.x86_64", the_file("tvurev-*.vib")).group(1)
        self.assertEqual(self.xml.findtext("version"), version + "-1")

    def test_file_list_names_what_is_there(self):
        listed = [entry.text for entry in self.xml.findall("file-list/file")]
        self.assertEqual(listed, [header["name"] for header in self.headers
                                  if header["type"] in (b"0", b"2")])

    def test_members_are_plain_ustar(self):
        for header in self.headers:
            self.assertEqual((header["uid"], header["gid"], header["time"], header["magic"]),
                             (0, 0, EPOCH, b"ustar\x0000"), header)
            self.assertIn(header["type"], (b"0", b"2", b"5"), header)
            self.assertEqual(header["mode"] & 0o022, 0, header)

    def test_nothing_lies_elsewhere(self):
        names = [header["name"].rstrip("/") for header in self.headers]
        for name in names:
            self.assertRegex(name, "^(" + ALLOWED_MEMBER.pattern + ")$")
            self.assertNotIn("..", name)
        self.assertEqual(len(names), len(set(names)))
        self.assertEqual(sum(name.startswith("etc/vmware/firewall/") for name in names), 1)

    def test_firewall_opens_one_port(self):
        with tarfile.open(fileobj=io.BytesIO(self.unpacked)) as archive:
            text = archive.extractfile("etc/vmware/firewall/tvurev.xml").read()
        rules = ElementTree.fromstring(text).findall("service/rule")
        self.assertEqual([{child.tag: child.text for child in rule} for rule in rules],
                         [{"direction": "outbound", "protocol": "udp", "porttype": "dst",
                           "port": "162"}])

    def test_the_archive_for_hand_has_the_same_files(self):
        self.assertEqual(content_of(the_file("tvurev-bundle-*-x86_64.tar.gz")), self.payload)


class Programs(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.root = cls.folder.name
        with tarfile.open(the_file("tvurev-bundle-*.tar.gz")) as archive:
            archive.extractall(cls.root)
        cls.programs = sorted(glob.glob(os.path.join(cls.root, "opt/ortdv/bin/*")))
        cls.programs.append(os.path.join(cls.root, "opt/ortdv/sbin/tvurev"))
        cls.static = the_file("tvurev-static")

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    @staticmethod
    def readelf(option, path):
        return subprocess.run(["readelf", "-W", option, path], check=True, capture_output=True,
                              text=True).stdout

    def test_sizes(self):
        self.assertLessEqual(os.path.getsize(os.path.join(self.root, "opt/ortdv/sbin/tvurev")),
                             327680)
        total = sum(os.path.getsize(os.path.join(folder, name))
                    for folder, _, names in os.walk(os.path.join(self.root, "opt/ortdv"))
                    for name in names)
        self.assertLessEqual(total, 6291456)

    def test_they_use_the_library_beside_them_and_nothing_else(self):
        self.assertGreaterEqual(len(self.programs), 2)
        for program in self.programs:
            self.assertIn("[Requesting program interpreter: /opt/ortdv/lib/ld-linux-x86-64.so.2]",
                          self.readelf("-l", program))
            dynamic = self.readelf("-d", program)
            self.assertEqual(re.findall(r"RUNPATH.*\[(.*)\]", dynamic), ["/opt/ortdv/lib"])
            self.assertNotIn("(RPATH)", dynamic)
            needed = set(re.findall(r"NEEDED.*\[(.*)\]", dynamic))
            self.assertLessEqual(needed, {"libc.so.6", "ld-linux-x86-64.so.2"}, program)
            for library in needed:
                self.assertTrue(os.path.exists(os.path.join(self.root, "opt/ortdv/lib", library)))

    def test_the_library_has_every_symbol_that_they_need(self):
        shipped = set()
        for library in glob.glob(os.path.join(self.root, "opt/ortdv/lib/*")):
            shipped |= set(re.findall(r"\((GLIBC_[\w.]+)\)", subprocess.run(
                ["objdump", "-T", library], check=True, capture_output=True, text=True).stdout))
            shipped |= set(re.findall(r"\b(GLIBC_[\d.]+)\b", self.readelf("-V", library)))
        for program in self.programs:
            wanted = set(re.findall(r"\b(GLIBC_[\w.]+)\b", self.readelf("-V", program)))
            self.assertLessEqual(wanted, shipped, program)

    def test_an_older_library_without_close_range_is_no_hindrance(self):
        symbols = self.readelf("--dyn-syms", self.programs[-1])
        self.assertRegex(symbols, r"WEAK\s+DEFAULT\s+UND close_range")

    def test_the_static_file_needs_nobody(self):
        self.assertIn("DYN", re.search(r"Type:\s+(.*)", self.readelf("-h", self.static)).group(1))
        self.assertNotIn("INTERP", self.readelf("-l", self.static))
        self.assertNotIn("NEEDED", self.readelf("-d", self.static))

    def test_hardening(self):
        for program in [*self.programs, self.static]:
            segments = self.readelf("-l", program)
            self.assertIn("GNU_RELRO", segments, program)
            self.assertRegex(segments, r"GNU_STACK.*RW ", program)
            for line in segments.splitlines():
                flags = re.match(r"\s+LOAD(?:\s+0x\w+){5}\s+([RWE ]{3})", line)
                self.assertFalse(flags and "W" in flags.group(1) and "E" in flags.group(1), line)
            self.assertRegex(self.readelf("-d", program), r"FLAGS_1.*NOW.*PIE", program)
            self.assertNotIn(".symtab", self.readelf("-S", program))
        for program in self.programs:
            symbols = self.readelf("--dyn-syms", program)
            self.assertIn("__stack_chk_fail", symbols)
            self.assertRegex(symbols, "__v?snprintf_chk")

    def test_no_path_of_the_build_is_in_them(self):
        top = os.path.realpath(os.path.join(os.path.dirname(__file__), "../..")).encode()
        for program in [*self.programs, self.static]:
            self.assertNotIn(top, content_of(program), program)


class Trust(unittest.TestCase):
    def test_sums_are_over_everything_else(self):
        lines = content_of(os.path.join(DIST, "SHA256SUMS")).decode().splitlines()
        listed = {line[66:]: line[:64] for line in lines}
        present = {name: hashlib.sha256(content_of(os.path.join(DIST, name))).hexdigest()
                   for name in os.listdir(DIST) if name != "SHA256SUMS"}
        self.assertEqual(listed, present)

    def test_the_list_of_contents_is_true(self):
        spdx = json.loads(content_of(os.path.join(DIST, "tvurev.spdx.json")))
        self.assertEqual((spdx["spdxVersion"], spdx["dataLicense"]), ("SPDX-2.3", "CC0-1.0"))
        with tarfile.open(the_file("tvurev-bundle-*.tar.gz")) as archive:
            present = {"./" + member.name:
                       hashlib.sha256(archive.extractfile(member).read()).hexdigest()
                       for member in archive if member.isfile()}
        listed = {entry["fileName"]: checksum["checksumValue"] for entry in spdx["files"]
                  for checksum in entry["checksums"] if checksum["algorithm"] == "SHA256"}
        self.assertEqual(listed, present)
        identifiers = {entry["SPDXID"] for entry in [*spdx["packages"], *spdx["files"], spdx]}
        for relation in spdx["relationships"]:
            self.assertIn(relation["spdxElementId"], identifiers)
            self.assertIn(relation["relatedSpdxElement"], identifiers)
        for entry in spdx["packages"]:
            self.assertTrue(entry["licenseConcluded"] and entry["versionInfo"], entry)
            self.assertRegex(entry["SPDXID"], r"^SPDXRef-[A-Za-z0-9.-]+$")
        for entry in spdx["files"]:
            self.assertRegex(entry["SPDXID"], r"^SPDXRef-[A-Za-z0-9.-]+$")

    @unittest.skipIf(SECOND is None, "no second build to compare with")
    def test_a_second_build_has_the_same_bytes(self):
        self.assertEqual(content_of(os.path.join(DIST, "SHA256SUMS")),
                         content_of(os.path.join(SECOND, "SHA256SUMS")))
        for name in os.listdir(DIST):
            self.assertEqual(content_of(os.path.join(DIST, name)),
                             content_of(os.path.join(SECOND, name)), name)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=1)
