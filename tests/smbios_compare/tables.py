# SPDX-License-Identifier: Apache-2.0
"""Builds SMBIOS tables: single structures, whole servers, and generated ones of
every type at every length. Written from the layouts of the standard alone; shares
nothing with the reader in smbios/."""
import random
import struct


def structure(kind, handle, formatted, strings=()):
    """The bytes of a structure; formatted is what follows the header."""
    header = struct.pack("<BBH", kind, 4 + len(formatted), handle)
    texts = b"".join(text.encode() + b"\0" for text in strings)
    return header + formatted + (texts or b"\0") + b"\0"


def _with_checksum(entry, place):
    entry[place] = -sum(entry) & 0xFF
    return entry


def dump32(table, count, version=(2, 8)):
    """A 32-bit entry point at 0 and the table at 32."""
    legacy = bytearray(struct.pack("<5sBHIHB", b"_DMI_", 0, len(table), 32, count,
                                   version[0] << 4 | version[1] & 15))
    _with_checksum(legacy, 5)
    entry = bytearray(struct.pack("<4sBBBBHB5s", b"_SM_", 0, 31, *version, 0, 0, bytes(5)) + legacy)
    _with_checksum(entry, 4)
    return bytes(entry) + b"\0" + table


def dump64(table, version=(3, 6)):
    """A 64-bit entry point at 0 and the table at 32."""
    entry = bytearray(struct.pack("<5sBBBBBBBIQ", b"_SM3_", 0, 24, *version, 0, 1, 0, len(table),
                                  32))
    return bytes(_with_checksum(entry, 5)) + bytes(8) + table


def of_device(image):
    """The table behind a device's 32-bit entry point, with its count and version."""
    entry = image[image.index(b"_SM_"):]
    length, = struct.unpack_from("<H", entry, 22)
    count, = struct.unpack_from("<H", entry, 28)
    return entry[entry[5]:entry[5] + length], count, (entry[6], entry[7])


# In the rows: the word is that of all values from its own on.
WORD_FROM = 0x40000000

END = structure(127, 0xFEFF, b"")


class Builder:
    """Structures one behind the other, with handles that count up."""

    def __init__(self):
        self.bytes = bytearray()
        self.count = 0

    def add(self, kind, formatted, strings=(), handle=None):
        handle = self.count if handle is None else handle
        self.bytes += structure(kind, handle, formatted, strings)
        self.count += 1
        return handle

    def end(self):
        if not self.bytes.endswith(END):
            self.bytes += END
            self.count += 1
        return self


def _processor(table, number, caches):
    table.add(4, struct.pack(
        "<BBBBQBBHHHBBHHHBBBBBBHHHHH", 1, 3, 0xB3, 2, 0xBFEBFBFF000606A6, 3, 0x92, 100, 4000, 2300,
        0x41, 0x3F, *caches, 0, 4, 5, 40, 40, 80, 0xFC, 0xB3, 40, 40, 80),
        (f"Proc {number}", "Example Silicon", "Example CPU 8380 @ 2.30GHz", "UNKNOWN", "P-4711"))


def _cache(table, name, level, kib, associativity):
    units = kib // 64 | 0x8000 if kib > 0x7FFF else kib
    size2 = kib // 64 | 0x80000000 if kib > 0x7FFF else kib
    return table.add(7, struct.pack("<BHHHHHBBBBII", 1, 0x180 | level - 1, units, units, 0x20, 0x20,
                                    0, 5, 5, associativity, size2, size2), (name,))


def _dimm(table, array, socket, slot):
    empty = slot > 8
    table.add(17, struct.pack(
        "<HHHHHBBBBBHHBBBBBIHHHHBHBHHHHQQQQII", array, 0xFFFE, 72 if not empty else 0xFFFF,
        64 if not empty else 0xFFFF, 0 if empty else 0x7FFF, 9, 0, 1, 2, 0x1A, 0x2080,
        0 if empty else 3200, 3, 4, 0, 5, 0 if empty else 2, 0 if empty else 65536,
        0 if empty else 2933, 1200, 1200, 1200, 3, 0x0008, 0, 0xCE80, 0, 0, 0, 0,
        0 if empty else 65536 << 20, 0, 0, 0, 0),
        (f"PROC {socket} DIMM {slot}", f"Bank {socket}", "Example Memory", f"SN{socket:02}{slot:02}",
         "EM64G3200"))


def two_socket_server():
    """Two sockets, 24 DIMM sockets of which 16 are filled, 12 drives, six slots."""
    table = Builder()
    table.add(0, struct.pack("<BBHBBQBBBBBBH", 1, 2, 0xF000, 3, 0xFF, 0x7FFFFF00 & 0x19F98880 | 0x80,
                             0x03, 0x0D, 2, 40, 1, 10, 32),
              ("Example Firmware Works", "EX2 v2.40", "03/14/2026"))
    table.add(1, struct.pack("<BBBB16sBBB", 1, 2, 3, 4, bytes(range(16)), 6, 5, 6),
              ("Example Servers", "Server 2400", "Rev C", "EX26110042", "SKU-2400-12", "Sample"))
    chassis = 0x0300
    table.add(2, struct.pack("<BBBBBBBHBBHH", 1, 2, 3, 4, 5, 0x09, 6, chassis, 10, 2, 0x0400, 0x0401),
              ("Example Servers", "Board 2400", "A01", "BSN0001", "AT-1", "Upper tray"))
    table.add(3, struct.pack("<BBBBBBBBBIBBBBBBBBBBB", 1, 0x17, 2, 3, 4, 3, 3, 3, 3, 0, 2, 2, 2, 3,
                             0x83, 1, 2, 0x91, 8, 32, 5),
              ("Example Servers", "V1", "CSN0001", "AT-2", "CHS-SKU"), chassis)
    for socket in (1, 2):
        caches = [_cache(table, f"L{level}-Cache", level, kib, ways)
                  for level, kib, ways in ((1, 2560, 7), (2, 51200, 14), (3, 61440, 9))]
        _processor(table, socket, caches)
    array = table.add(16, struct.pack("<BBBIHHQ", 3, 3, 6, 0x80000000, 0xFFFE, 24, 6 << 40))
    for socket in (1, 2):
        for slot in range(1, 13):
            _dimm(table, array, socket, slot)
    table.add(19, struct.pack("<IIHBQQ", 0, 0x3FFFFFFF, array, 2, 0, 0))
    table.add(19, struct.pack("<IIHBQQ", 0xFFFFFFFF, 0xFFFFFFFF, array, 2, 1 << 32, (1 << 40) - 1))
    for slot in range(1, 7):
        table.add(9, struct.pack("<BBBBBHBBHBBBBBBHB", 1, 0xB6, 0x0D, 4 - slot % 2, 4, slot, 0x0C,
                                 0x01, 0, slot << 4, 0, 16, 0, 4, 0x0D, 2032, 3),
                  (f"PCI-E Slot {slot}",))
    for port in range(4):
        table.add(8, struct.pack("<BBBBB", 1, 0, 2, 0x0B, 0x1F), (f"J{port}", f"NIC Port {port}"))
        table.add(41, struct.pack("<BBBHBB", 1, 0x85, port + 1, 0, 2, port),
                  (f"Embedded NIC {port}",))
    for supply in (1, 2):
        table.add(39, struct.pack("<BBBBBBBBHHHHH", supply, 1, 2, 3, 4, 0, 5, 6, 800, 0x11A7, 0xFFFF,
                                  0xFFFF, 0xFFFF),
                  (f"Bay {supply}", "PSU", "Example Power", f"PSN{supply}", "PN800", "B"))
    for drive in range(1, 13):
        table.add(242, bytes(35) + bytes((1, 2, 0, 3)), (f"DRV{drive:07}", "SSD 1.92 TB",
                                                         f"Bay {drive}"))
    table.add(32, bytes(7))
    table.add(38, struct.pack("<BBBBQBB", 1, 0x20, 0x20, 0xFF, 0xCA3, 0x00, 0))
    redfish = bytes(16) + bytes((4, 1)) + bytes(73)
    table.add(42, bytes((0x40, 5, 2, 0x34, 0x12, 0x78, 0x56, 1, 4, len(redfish))) + redfish)
    table.add(42, bytes((0x40, 5, 0, 0x34, 0x12, 0x78, 0x56, 0)))
    table.add(43, struct.pack("<4sBBIIBQI", b"EXA\0", 2, 0, 0x00070055, 0, 1, 0x20, 0), ("TPM 2.0",))
    table.add(11, bytes((2,)), ("PSF:", "Product ID: 2400"))
    return table.end()


def blade():
    """One socket of a blade with four memory devices, with an older firmware's lengths."""
    table = Builder()
    table.add(0, struct.pack("<BBHBBQBBBBBB", 1, 2, 0xF000, 3, 0x7F, 0x0000000119C98880, 1, 5, 1, 2,
                             0xFF, 0xFF), ("Example Firmware Works", "BL1", "01/02/2012"))
    table.add(1, struct.pack("<BBBB16sBBB", 1, 2, 0, 3, bytes(range(16, 32)), 6, 4, 5),
              ("Example Servers", "Blade 260", "BLSN001", "BSKU", "Blades"))
    table.add(3, struct.pack("<BBBBBBBBBIBBBB", 1, 28, 0, 2, 0, 3, 3, 2, 2, 0, 1, 0, 0, 0),
              ("Example Servers", "BLSN001"))
    cache = _cache(table, "L1", 1, 256, 7)
    table.add(4, struct.pack("<BBBBQBBHHHBBHHHBBBBBBH", 1, 3, 0xD6, 2, 0x1FEBFBFF000206D7, 3, 0x8C,
                             100, 4800, 2600, 0x41, 0x2A, cache, 0xFFFF, 0xFFFF, 0, 0, 0, 8, 8, 16,
                             4), ("Proc 1", "Example Silicon", "CPU E5-2670"))
    array = table.add(16, struct.pack("<BBBIHH", 3, 3, 5, 0x2000000, 0xFFFE, 4))
    for slot in range(4):
        table.add(17, struct.pack("<HHHHHBBBBBHHBBBBBIH", array, 0xFFFE, 72, 64, 8192, 9, 0, 1, 2,
                                  0x18, 0x0080, 1600, 3, 0, 0, 4, 2, 0, 1600),
                  (f"DIMM {slot}", "Bank", "Example Memory", "EM8G"))
    table.add(204, bytes((1, 2, 3, 4, 16, 2, 5)), ("Rack1", "Enc1", "Enclosure 16", "7", "ESN1"))
    table.add(10, bytes((0x83, 1, 0x05, 2)), ("Video chip", "NIC chip"))
    table.add(13, bytes((2, 1)) + bytes(15) + bytes((1,)), ("en|US|iso8859-1", "fr|FR|iso8859-1"))
    return table.end()


def _values(row, source):
    """The values of a field that tell: all of a byte; of wider ones the words with
    their neighbours, each bit alone, and some of any kind."""
    if row.width == 1:
        return range(256)
    limit = 1 << 8 * row.width
    near = {word % WORD_FROM + step for word in row.words for step in (-1, 0, 1)}
    bits = {1 << bit for bit in range(8 * row.width)}
    some = {source.randrange(limit) for _ in range(64)}
    return sorted(value for value in near | bits | some if 0 <= value < limit)


def sweep(rows, seed):
    """Every telling value of every field that has words, in structures that are as
    long as the rows go."""
    source = random.Random(seed)
    table = Builder()
    for row in rows:
        full = max(other.since for other in rows if other.type == row.type)
        for value in _values(row, source) if row.words else ():
            formatted = bytearray(full - 4)
            place = row.offset - 4
            formatted[place: place + row.width] = value.to_bytes(row.width, "little")
            table.add(row.type, bytes(formatted))
    return table


def processor_families(rows):
    """The second field of processor families, in which the first one's values and
    many more are."""
    words = next(row.words for row in rows if row.type == 4 and row.key == "family")
    table = Builder()
    for family in sorted({word + step for word in words for step in (-1, 0, 1)}):
        formatted = bytearray(0x32 - 4)
        formatted[2] = 0xFE
        formatted[0x24:0x26] = family.to_bytes(2, "little")
        table.add(4, bytes(formatted))
    return table


def _agree_on_cache_sizes(formatted):
    """Sizes that do not fit have to stand in the later fields, the others there too."""
    for early, late in ((3, 15), (5, 19)):
        if len(formatted) >= late + 4:
            size = int.from_bytes(formatted[early:early + 2], "little")
            if size != 0xFFFF:
                size = (size & 0x7FFF) | (size >> 15) << 31
                formatted[late:late + 4] = size.to_bytes(4, "little")


def generated(rows, seed, rounds):
    """Structures of every type at every length, with bytes that tell."""
    source = random.Random(seed)
    table = Builder()
    kinds = sorted({row.type for row in rows})
    telling = (0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0x10, 0x40, 0x7F, 0x80, 0x81, 0xFE, 0xFF, 0xFF)
    for _ in range(rounds):
        for kind in kinds:
            longest = max(row.since for row in rows if row.type == kind) + 6
            for length in range(4, longest + 1):
                formatted = bytearray(source.choice(telling) if source.random() < 0.6
                                      else source.randrange(256) for _ in range(length - 4))
                if kind == 7:
                    _agree_on_cache_sizes(formatted)
                strings = [f"text {number}" + source.choice(("", " ", "\x07", "\xe9"))
                           for number in range(source.randrange(9))]
                table.add(kind, bytes(formatted), strings)
    return table
