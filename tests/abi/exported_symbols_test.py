#!/usr/bin/env python3
"""usage: exported_symbols_test.py [--update] LIBRARY LIST

Compares the exported symbols of the library with the list of those that it promises, and checks the
list itself: plain names for the C API, C++ names for the four functions that C programs cannot call,
nothing of the standard library, and what customers' derived classes need.
"""

import sys

from elf import Elf, demangle

PLAIN = """
    dp_api_initialize dp_api_uninitialize dp_bios_need_reinit dp_bios_reset_to_defaults
    dp_get_bios_attribute dp_get_bios_attribute_names dp_get_bios_attribute_value
    dp_get_bios_attributes dp_get_bios_collections dp_get_uim_event_category_mapping
    dp_set_bios_attribute_value
""".split()
MANGLED = """
    _Z25update_uefi_build_id_filev _Z27dp_cim_change_current_fnamePKc
    _Z28dp_cim_change_settings_fnamePKc _Z28dp_cim_change_template_fnamePKc
""".split()
DERIVABLE = """
    batch_file_intf batch_file_reader client_log client_transaction configuration
    non_xml_setting_element plugin process_log setting_element setting_transaction transaction
""".split()


def faults(names):
    plain = sorted(n for n in names if not n.startswith("_Z"))
    if plain != sorted(PLAIN):
        yield f"plain names are {plain}, should be {sorted(PLAIN)}"
    for name in MANGLED:
        if name not in names:
            yield f"{name} is missing"
    for name in DERIVABLE:
        for prefix in ("_ZTV", "_ZTI", "_ZTS"):
            if f"{prefix}N2dp{len(name)}{name}E" not in names:
                yield f"{prefix} of dp::{name} is missing"
    for name, text in zip(names, demangle(names)):
        if name.startswith(("_ZNS", "_ZNKS", "_ZS")) or " std::" in text.split("(")[0]:
            yield f"{text} belongs to the standard library"


def main(arguments):
    update = arguments[0] == "--update"
    library, listed = arguments[1:] if update else arguments
    names = sorted({s.name for s in Elf(library).exported()})
    if update:
        with open(listed, "w", encoding="ascii") as file:
            file.writelines(f"{name}\n" for name in names)
    with open(listed, encoding="ascii") as file:
        promised = file.read().split()
    found = list(faults(names))
    more, less = sorted(set(names) - set(promised)), sorted(set(promised) - set(names))
    found += [f"exported, but not in the list: {text}" for text in demangle(more)] if more else []
    found += [f"in the list, but not exported: {text}" for text in demangle(less)] if less else []
    print("\n".join(found) or f"{library}: {len(names)} symbols, as promised")
    if more or less:
        print(f"If this is intended, ./dev abi --update renews {listed}.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
