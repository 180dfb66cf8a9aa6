#!/usr/bin/env python3
"""Reads a 64-bit Mach-O library: what is where, what is bound, what is exported, how it unwinds.

macho.py FILE    prints what is wrong with its unwind entries, or how many there are
"""

import struct
import sys
from collections import namedtuple

Segment = namedtuple("Segment", "name address size offset file_size protection")
Section = namedtuple("Section", "segment name address size offset kind")
# Of a function until the next one: where it begins, how to unwind it, the slot of its personality,
# its language-specific data.
Unwind = namedtuple("Unwind", "begin end encoding personality lsda")

X86_64, ARM64 = 0x01000007, 0x0100000C
# The modes of a compact encoding.
FRAME = {X86_64: 1, ARM64: 4}
DWARF = {X86_64: 4, ARM64: 3}


def mode(encoding):
    return encoding >> 24 & 0xF


def text_of(raw):
    return raw.split(b"\0")[0].decode()


class Library:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        magic, self.processor, _, self.kind, count = self.unpack("<IIIII", 0)
        if magic != 0xFEEDFACF:
            raise ValueError(f"{path}: not a 64-bit Mach-O file")
        self.segments, self.sections = [], []
        self.dependencies, self.commands = [], {}
        at = 32
        for _ in range(count):
            command, size = self.unpack("<II", at)
            self.commands[command] = at
            if command == 0x19:  # a segment
                self.read_segment(at)
            elif command & 0xFF in (0x0C, 0x18):  # a library, which may be absent
                name = self.unpack("<I", at + 8)[0]
                self.dependencies.append(text_of(self.data[at + name : at + size]))
            at += size

    def unpack(self, form, at):
        return struct.unpack_from(form, self.data, at)

    def read_segment(self, at):
        name, address, size, offset, file_size, _, protection, count = self.unpack(
            "<16sQQQQIII", at + 8
        )
        self.segments.append(
            Segment(text_of(name), address, size, offset, file_size, protection)
        )
        for i in range(count):
            section, segment, address, size, offset, _, _, _, flags = self.unpack(
                "<16s16sQQIIIII", at + 72 + 80 * i
            )
            self.sections.append(
                Section(text_of(segment), text_of(section), address, size, offset, flags & 0xFF)
            )

    def section(self, name):
        return next((s for s in self.sections if s.name == name), None)

    def content(self, section):
        return self.data[section.offset : section.offset + section.size]

    def section_at(self, address):
        return next(s for s in self.sections if s.address <= address < s.address + s.size)

    @staticmethod
    def uleb(data, at):
        value = shift = 0
        while True:
            byte = data[at]
            at += 1
            value |= (byte & 0x7F) << shift
            shift += 7
            if byte < 0x80:
                return value, at

    def link_table(self, which):
        """One of the tables of the dyld information command."""
        if 0x80000034 in self.commands:
            raise ValueError("chained fixups are not known here")
        at = self.commands[0x80000022] + 8 * (which + 1)
        offset, size = self.unpack("<II", at)
        return self.data[offset : offset + size]

    def rebases(self):
        """The addresses of the pointers into the library itself."""
        table, at, address = self.link_table(0), 0, 0
        while at < len(table):
            opcode, value = table[at] & 0xF0, table[at] & 0x0F
            at += 1
            times, skip = value, 0
            if opcode == 0x00:
                return
            if opcode == 0x10:
                continue
            if opcode in (0x20, 0x30):
                amount, at = self.uleb(table, at)
                address = amount + (self.segments[value].address if opcode == 0x20 else address)
                continue
            if opcode == 0x40:
                address += 8 * value
                continue
            if opcode in (0x60, 0x80):
                times, at = self.uleb(table, at)
            if opcode == 0x70:
                times = 1
            if opcode in (0x70, 0x80):
                skip, at = self.uleb(table, at)
            for _ in range(times):
                yield address
                address += 8 + skip

    def binds(self):
        """(address, name, addend, library) of the pointers into other libraries."""
        for which in (1, 2, 3):
            table, at = self.link_table(which), 0
            address = addend = library = 0
            name = ""
            while at < len(table):
                opcode, value = table[at] & 0xF0, table[at] & 0x0F
                at += 1
                if opcode == 0x10:
                    library = value
                elif opcode == 0x20:
                    library, at = self.uleb(table, at)
                elif opcode == 0x40:
                    end = table.index(0, at)
                    name, at = table[at:end].decode(), end + 1
                elif opcode == 0x60:
                    addend, at = self.uleb(table, at)
                elif opcode in (0x70, 0x80):
                    amount, at = self.uleb(table, at)
                    address = amount + (self.segments[value].address if opcode == 0x70 else address)
                    address &= (1 << 64) - 1
                elif opcode >= 0x90:
                    times, skip = 1, 0
                    if opcode == 0xA0:
                        skip, at = self.uleb(table, at)
                    elif opcode == 0xB0:
                        skip = 8 * value
                    elif opcode == 0xC0:
                        times, at = self.uleb(table, at)
                        skip, at = self.uleb(table, at)
                    for _ in range(times):
                        yield address, name, addend, self.dependencies[library - 1]
                        address = address + 8 + skip & (1 << 64) - 1

    def exports(self):
        """The exported names and their addresses."""
        table = self.link_table(4)
        pending = [(0, "")]
        while pending:
            at, name = pending.pop()
            size, at = self.uleb(table, at)
            if size:
                flags, value_at = self.uleb(table, at)
                if flags:
                    raise ValueError(f"{name} is exported in a way that is not known here")
                yield name, self.uleb(table, value_at)[0]
            at += size
            for _ in range(table[at]):
                end = table.index(0, at + 1)
                child, following = self.uleb(table, end + 1)
                pending.append((child, name + table[at + 1 : end].decode()))
                at = following - 1

    def unwind(self):
        """The entries of __unwind_info, in order."""
        base = self.segments[0].address
        info = self.content(self.section("__unwind_info"))
        common_at, common, personality_at, personalities, index_at, indices = struct.unpack_from(
            "<IIIIII", info, 4
        )
        common = struct.unpack_from(f"<{common}I", info, common_at)
        slots = struct.unpack_from(f"<{personalities}I", info, personality_at)
        index = [struct.unpack_from("<III", info, index_at + 12 * i) for i in range(indices)]
        found = []
        lsda_begin, lsda_end = index[0][2], index[-1][2]
        lsda = dict(struct.iter_unpack("<II", info[lsda_begin:lsda_end]))
        for first, page, _ in index[:-1]:
            kind, entries_at, count = struct.unpack_from("<IHH", info, page)
            if kind == 2:
                found += struct.iter_unpack("<II", info[page + entries_at :][: 8 * count])
                continue
            own_at, own = struct.unpack_from("<HH", info, page + 8)
            known = common + struct.unpack_from(f"<{own}I", info, page + own_at)
            for (entry,) in struct.iter_unpack("<I", info[page + entries_at :][: 4 * count]):
                found.append((first + (entry & 0xFFFFFF), known[entry >> 24]))
        ends = [begin for begin, _ in found[1:]] + [index[-1][0]]
        for (begin, encoding), end in zip(found, ends):
            slot = encoding >> 28 & 3
            if end > begin:  # several functions that were folded into one leave empty entries
                yield Unwind(
                    base + begin,
                    base + end,
                    encoding,
                    base + slots[slot - 1] if slot else None,
                    base + lsda[begin] if encoding & 0x40000000 else None,
                )

    def frame_descriptions(self):
        """Where the functions begin that __eh_frame describes."""
        section = self.section("__eh_frame")
        at, data = 0, self.content(section) if section else b""
        while at + 8 <= len(data):
            size, distance = struct.unpack_from("<II", data, at)
            if distance:  # not what several have in common
                begin = section.address + at + 8
                yield begin + struct.unpack_from("<q", data, at + 8)[0]
            at += size + 4


def unwind_faults(library):
    text = library.section("__text")
    count = 0
    for entry in library.unwind():
        count += 1
        if not text.address <= entry.begin < entry.end <= text.address + text.size + 16:
            yield f"entry {entry.begin:#x} to {entry.end:#x} outside __text"
        if mode(entry.encoding) == DWARF[library.processor]:
            yield f"entry {entry.begin:#x} needs __eh_frame"
    for begin in library.frame_descriptions():
        if not text.address <= begin < text.address + text.size:
            yield f"__eh_frame describes {begin:#x}, outside __text"
    if count == 0:
        yield "no entries"


def main():
    library = Library(sys.argv[1])
    faults = list(unwind_faults(library))
    print("\n".join(faults) or f"{len(list(library.unwind()))} entries")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
