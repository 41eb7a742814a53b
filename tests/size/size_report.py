#!/usr/bin/env python3
"""usage: size_report.py MACHINE LIBRARY STRIP_TOOL LOADER BOUNDS [EMULATOR...]

Measures and prints the size of the library and the heap that it needs; fails if a figure exceeds
its bound. LOADER prints the peak size of the heap while it reads attributes through the C API.
"""

import json
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "abi"))
from elf import SHT_REL, SHT_RELA, SHT_SYMTAB, Elf  # noqa: E402

SHT_NOBITS, SHF_WRITE, SHF_ALLOC = 8, 1, 2


def constructors(elf):
    """The functions that run when the library is loaded, except the compiler's frame_dummy."""
    names = {}
    for symbol in elf.symbols(SHT_SYMTAB):
        if not symbol.name.startswith("$"):
            names.setdefault(symbol.value & ~1, symbol.name)
    return [name for name in (names.get(address & ~1, "?") for address in elf.init_functions())
            if name != "frame_dummy"]


def stripped_size(library, strip_tool):
    with tempfile.NamedTemporaryFile() as copy:
        subprocess.run([strip_tool, "--strip-unneeded", "-o", copy.name, library], check=True)
        return os.path.getsize(copy.name)


def peak_heap(command, count):
    with tempfile.TemporaryDirectory(prefix="dp-size-") as root:
        return int(subprocess.run([*command, str(count)], check=True, stdout=subprocess.PIPE,
                                  env={**os.environ, "DP_ROOT": root}).stdout)


def main(machine, library, strip_tool, loader, bounds_file, *emulator):
    elf = Elf(library)
    loaded = [s for s in elf.sections if s.flags & SHF_ALLOC and s.type != SHT_NOBITS]
    command = [*emulator, loader]
    figures = {
        "text, bytes": sum(s.size for s in loaded if not s.flags & SHF_WRITE),
        "text and data, bytes": sum(s.size for s in loaded),
        "stripped file, bytes": stripped_size(library, strip_tool),
        "relocations": sum(s.size // s.entry_size for s in loaded
                           if s.type in (SHT_REL, SHT_RELA)),
        "static constructors": len(constructors(elf)),
        "peak heap of 360 attributes, bytes": peak_heap(command, 360),
        "peak heap of 10,000 attributes, bytes": peak_heap(command, 10000),
    }
    with open(bounds_file, encoding="ascii") as file:
        bounds = json.load(file)
    failed = False
    print(f"{'libdp_common.so for ' + machine:<40} {'measured':>12} {'bound':>12}")
    for name, value in figures.items():
        bound = bounds[machine].get(name)
        over = bound is not None and value > bound
        failed |= over
        print(f"{name:<40} {value:>12,} {'' if bound is None else format(bound, ','):>12}"
              f"{'  TOO MUCH' if over else ''}")
    # Any other constructor would cost time in every process that links the library.
    found = constructors(elf)
    print(f"constructed when loaded: {', '.join(found) or 'nothing'}")
    if found != bounds["static constructors"]:
        failed = True
        print(f"  TOO MUCH: should be {', '.join(bounds['static constructors'])}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
