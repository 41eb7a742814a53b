#!/usr/bin/env python3
"""usage: hardening_test.py FILE... -- PROBE

Checks that the built files are hardened against attacks. PROBE contains one copy whose length is
known only at run time: it must use the checked function of the C library.
"""

import sys

from elf import (DF_1_NOW, DF_1_PIE, DF_BIND_NOW, DT_BIND_NOW, DT_FLAGS, DT_FLAGS_1, ET_DYN, PF_X,
                 PT_GNU_RELRO, PT_GNU_STACK, PT_INTERP, PT_LOAD, Elf)

DT_TEXTREL, DF_TEXTREL, PF_W = 22, 4, 2


def faults(elf):
    dynamic = dict(elf.dynamic())
    flags, flags_1 = dynamic.get(DT_FLAGS, 0), dynamic.get(DT_FLAGS_1, 0)
    if elf.segment(PT_GNU_RELRO) is None:
        yield "relocated data stay writable (no RELRO)"
    if not (DT_BIND_NOW in dynamic or flags & DF_BIND_NOW or flags_1 & DF_1_NOW):
        yield "functions are bound late (no BIND_NOW)"
    stack = elf.segment(PT_GNU_STACK)
    if stack is None or stack.flags & PF_X:
        yield "the stack is executable"
    if any(s.type == PT_LOAD and s.flags & PF_X and s.flags & PF_W for s in elf.segments):
        yield "a segment is both writable and executable"
    if DT_TEXTREL in dynamic or flags & DF_TEXTREL:
        yield "code is relocated (TEXTREL)"
    if elf.type != ET_DYN or (elf.segment(PT_INTERP) is not None and not flags_1 & DF_1_PIE):
        yield "its addresses are fixed (no PIE)"
    if not any(s.name == "__stack_chk_fail" for s in elf.imported()):
        yield "no stack protector"


def main(arguments):
    separator = arguments.index("--")
    failed = False
    for path in arguments[:separator]:
        found = list(faults(Elf(path)))
        failed |= bool(found)
        print(f"{path}: {', '.join(found) or 'hardened'}")
    probe = Elf(arguments[separator + 1])
    if not any(s.name == "__memcpy_chk" for s in probe.imported()):
        failed = True
        print(f"{probe.path}: copies are not checked (no _FORTIFY_SOURCE)")
    return 1 if failed or separator == 0 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
