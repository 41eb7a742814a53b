"""Reads what the tests need of an ELF file: 32 or 64 bits, little-endian."""

import shutil
import struct
import subprocess
from collections import namedtuple

ET_EXEC, ET_DYN = 2, 3
PT_LOAD, PT_INTERP, PT_GNU_STACK, PT_GNU_RELRO = 1, 3, 0x6474E551, 0x6474E552
PF_X = 1
SHT_SYMTAB, SHT_RELA, SHT_REL, SHT_DYNSYM = 2, 4, 9, 11
DT_NEEDED, DT_SONAME, DT_BIND_NOW, DT_FLAGS, DT_FLAGS_1 = 1, 14, 24, 30, 0x6FFFFFFB
DF_BIND_NOW, DF_1_NOW, DF_1_PIE = 8, 1, 0x08000000
EM_386, EM_ARM, EM_X86_64, EM_AARCH64 = 3, 40, 62, 183
# The relocations that write an address inside the file itself.
RELATIVE = {EM_386: 8, EM_ARM: 23, EM_X86_64: 8, EM_AARCH64: 1027}

Section = namedtuple("Section", "name type flags address offset size link entry_size")
Segment = namedtuple("Segment", "type flags address offset file_size memory_size")
Symbol = namedtuple("Symbol", "name value size bind kind visibility section")
Relocation = namedtuple("Relocation", "address type symbol addend")


class Elf:
    def __init__(self, path):
        self.path = path
        with open(path, "rb") as file:
            self.data = file.read()
        if self.data[:4] != b"\x7fELF" or self.data[5] != 1:
            raise ValueError(f"{path} is not a little-endian ELF file")
        self.bits = {1: 32, 2: 64}[self.data[4]]
        self.word = self.bits // 8
        wide = self.bits == 64
        header = struct.unpack_from("<HHIQQQIHHHHHH" if wide else "<HHIIIIIHHHHHH", self.data, 16)
        self.type, self.machine = header[0], header[1]
        self.segments = []
        for index in range(header[9]):
            at = header[4] + index * header[8]
            if wide:
                kind, flags, offset, address, _, file_size, memory_size, _ = struct.unpack_from(
                    "<IIQQQQQQ", self.data, at)
            else:
                kind, offset, address, _, file_size, memory_size, flags, _ = struct.unpack_from(
                    "<IIIIIIII", self.data, at)
            self.segments.append(Segment(kind, flags, address, offset, file_size, memory_size))
        raw = [struct.unpack_from("<IIQQQQIIQQ" if wide else "<IIIIIIIIII", self.data,
                                  header[5] + index * header[10]) for index in range(header[11])]
        names = raw[header[12]][4] if raw else 0
        self.sections = [Section(self._text(names + r[0]), r[1], r[2], r[3], r[4], r[5], r[6], r[9])
                         for r in raw]

    def _text(self, offset):
        return self.data[offset:self.data.index(b"\0", offset)].decode()

    def section(self, name):
        return next((s for s in self.sections if s.name == name), None)

    def segment(self, kind):
        return next((s for s in self.segments if s.type == kind), None)

    def read(self, address, size):
        """The bytes of the file at a memory address."""
        for s in self.segments:
            if s.type == PT_LOAD and s.address <= address < s.address + s.file_size:
                start = s.offset + address - s.address
                return self.data[start:start + size]
        raise ValueError(f"{self.path} has nothing at {address:#x}")

    def dynamic(self):
        """The (tag, value) pairs of the dynamic section."""
        table = self.section(".dynamic")
        pairs = []
        for at in range(table.offset, table.offset + table.size, 2 * self.word):
            tag, value = struct.unpack_from("<QQ" if self.bits == 64 else "<II", self.data, at)
            if tag == 0:
                break
            pairs.append((tag, value))
        return pairs

    def dynamic_text(self, offset):
        return self._text(self.section(".dynstr").offset + offset)

    def symbols(self, kind):
        """The symbols of the SHT_SYMTAB or the SHT_DYNSYM table."""
        result = []
        for table in (s for s in self.sections if s.type == kind):
            texts = self.sections[table.link].offset
            for at in range(table.offset, table.offset + table.size, table.entry_size):
                if self.bits == 64:
                    name, info, other, section, value, size = struct.unpack_from(
                        "<IBBHQQ", self.data, at)
                else:
                    name, value, size, info, other, section = struct.unpack_from(
                        "<IIIBBH", self.data, at)
                result.append(Symbol(self._text(texts + name), value, size, info >> 4, info & 15,
                                     other & 3, section))
        return result

    def exported(self):
        """The symbols that other files may use, without the names of versions."""
        return [s for s in self.symbols(SHT_DYNSYM)
                if s.section not in (0, 0xFFF1) and s.bind != 0 and s.visibility in (0, 3)]

    def imported(self):
        return [s for s in self.symbols(SHT_DYNSYM) if s.section == 0 and s.name]

    def relocations(self):
        """The relocations of the loader, by address."""
        dynamic_symbols = self.symbols(SHT_DYNSYM)
        result = {}
        for table in self.sections:
            if table.type not in (SHT_REL, SHT_RELA) or not table.name.startswith((".rel.dyn",
                                                                                  ".rela.dyn")):
                continue
            for at in range(table.offset, table.offset + table.size, table.entry_size):
                if self.bits == 64:
                    address, info = struct.unpack_from("<QQ", self.data, at)
                    index, kind = info >> 32, info & 0xFFFFFFFF
                else:
                    address, info = struct.unpack_from("<II", self.data, at)
                    index, kind = info >> 8, info & 0xFF
                if table.type == SHT_RELA:
                    addend = struct.unpack_from("<q" if self.bits == 64 else "<i", self.data,
                                                at + 2 * self.word)[0]
                else:
                    addend = self.number(address)
                name = dynamic_symbols[index].name if index else ""
                result[address] = Relocation(address, kind, name, addend)
        return result

    def number(self, address):
        return int.from_bytes(self.read(address, self.word), "little")

    def init_functions(self):
        """The addresses of the functions that run when the file is loaded."""
        table = self.section(".init_array")
        if table is None:
            return []
        relocations = self.relocations()
        return [relocations[at].addend if at in relocations else self.number(at)
                for at in range(table.address, table.address + table.size, self.word)]


def demangle(names):
    """The names as C++ writes them, in the same order."""
    tool = shutil.which("c++filt") or "c++filt"
    output = subprocess.run([tool], input="\n".join(names) + "\n", text=True, check=True,
                            stdout=subprocess.PIPE).stdout
    return output.splitlines()
