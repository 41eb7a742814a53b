#!/usr/bin/env python3
"""usage: vtable_slots_test.py LIBRARY PROBE

Checks the order of the virtual operations of every class whose order is part of the binary interface.
Reads the virtual tables of the library and of the probe's classes: an overriding operation shows in
which slot a customer's class puts it.
"""

import re
import sys

from elf import RELATIVE, SHT_SYMTAB, Elf, demangle

PURE = "pure"  # a slot that only a derived class can fill

# The slots in order. A class with two polymorphic bases has a table for each.
LIBRARY = {
    "dp::plugin": [[
        PURE,
        "dp::plugin::process_transaction(dp::registrar&, dp::transaction*)",
        "dp::plugin::on_event(dp::registrar&, dp::plugin::message_event const&)",
        "dp::plugin::on_event(dp::registrar&, dp::plugin::file_event const&)",
        PURE,
        "dp::plugin::on_add_configuration(dp::registrar&, dp::configuration*)",
        "dp::plugin::on_unregister_configuration(dp::registrar&, dp::configuration*)",
        "dp::plugin::on_remove_configuration(dp::registrar&, dp::configuration*)",
    ]],
    "dp::configuration": [[
        "dp::configuration::load_settings(dp::registrar&)",
        "dp::configuration::enumerate_settings"
        "(dp::registrar&, dp::configuration::settings_callback*, int)",
    ]],
    "dp::setting_element": [[
        "dp::setting_element::map_value(STRING*)",
        "dp::setting_element::default_value[abi:cxx11]()",
        "dp::setting_element::validate(STRING const&)",
        "dp::setting_element::~setting_element()",
        "dp::setting_element::~setting_element()",
    ]],
    "dp::non_xml_setting_element": [[
        "dp::setting_element::map_value(STRING*)",
        "dp::setting_element::default_value[abi:cxx11]()",
        "dp::non_xml_setting_element::validate(STRING const&)",
        "dp::non_xml_setting_element::~non_xml_setting_element()",
        "dp::non_xml_setting_element::~non_xml_setting_element()",
    ]],
    "dp::transaction": [[
        PURE,  # The destructor has a body, but the class is abstract.
        PURE,
        "dp::transaction::execute_step(dp::registrar&, dp::plugin_list&)",
        PURE,
        "dp::transaction::transaction_complete(dp::registrar&)",
        "dp::transaction::substep_complete(dp::registrar&, dp::plugin*)",
        PURE,
        PURE,
        PURE,
    ]],
    "dp::setting_transaction": [[
        PURE,
        PURE,
        "dp::transaction::execute_step(dp::registrar&, dp::plugin_list&)",
        "dp::setting_transaction::on_execute_step(dp::registrar&, dp::plugin_list&)",
        "dp::transaction::transaction_complete(dp::registrar&)",
        "dp::transaction::substep_complete(dp::registrar&, dp::plugin*)",
        "dp::setting_transaction::on_substep_complete(dp::registrar&, dp::plugin*)",
        PURE,
        PURE,
    ]],
    "dp::client_transaction": [[
        "dp::client_transaction::~client_transaction()",
        "dp::client_transaction::~client_transaction()",
        "dp::transaction::execute_step(dp::registrar&, dp::plugin_list&)",
        "dp::setting_transaction::on_execute_step(dp::registrar&, dp::plugin_list&)",
        "dp::transaction::transaction_complete(dp::registrar&)",
        "dp::transaction::substep_complete(dp::registrar&, dp::plugin*)",
        "dp::setting_transaction::on_substep_complete(dp::registrar&, dp::plugin*)",
        "dp::client_transaction::on_transaction_complete(dp::registrar&)",
        "dp::client_transaction::on_transaction_event(dp::registrar&)",
    ]],
    "dp::batch_file_intf": [[PURE]],
    "dp::batch_file_reader": [[
        "dp::batch_file_reader::read_file(std::istream&, dp::registrar*)",
    ]],
    "dp::batch_file_checker": [[
        "dp::batch_file_checker::process_entry(dp::batch_file_entry&, dp::registrar*)",
    ]],
    **{
        f"dp::{name}": [
            [f"dp::{name}::process_entry(dp::batch_file_entry&, dp::registrar*)"],
            ["dp::batch_file_reader::read_file(std::istream&, dp::registrar*)"],
        ]
        for name in ("batch_file_settings_rdr", "batch_file_converter", "batch_file_loader")
    },
    **{
        f"dp::{name}": [[
            f"dp::{name}::~{name}()",
            f"dp::{name}::~{name}()",
            f"dp::{name}::start(dp::setting_transaction*)",
            f"dp::{name}::add_progress(dp::setting_transaction*)",
            f"dp::{name}::stop(dp::setting_transaction*)",
        ]]
        for name in ("client_log", "process_log")
    },
}

PROBE = {
    "slot_probe::plugin": [[
        "slot_probe::plugin::on_start(dp::registrar&)",
        "slot_probe::plugin::process_transaction(dp::registrar&, dp::transaction*)",
        "slot_probe::plugin::on_event(dp::registrar&, dp::plugin::message_event const&)",
        "slot_probe::plugin::on_event(dp::registrar&, dp::plugin::file_event const&)",
        "slot_probe::plugin::on_stop(dp::registrar&)",
        "slot_probe::plugin::on_add_configuration(dp::registrar&, dp::configuration*)",
        "slot_probe::plugin::on_unregister_configuration(dp::registrar&, dp::configuration*)",
        "slot_probe::plugin::on_remove_configuration(dp::registrar&, dp::configuration*)",
    ]],
    "slot_probe::settings_callback": [[
        "slot_probe::settings_callback::operator()(dp::setting*, int)",
    ]],
    "slot_probe::transaction": [[
        "slot_probe::transaction::~transaction()",
        "slot_probe::transaction::~transaction()",
        "slot_probe::transaction::execute_step(dp::registrar&, dp::plugin_list&)",
        "slot_probe::transaction::on_execute_step(dp::registrar&, dp::plugin_list&)",
        "slot_probe::transaction::transaction_complete(dp::registrar&)",
        "slot_probe::transaction::substep_complete(dp::registrar&, dp::plugin*)",
        "slot_probe::transaction::on_substep_complete(dp::registrar&, dp::plugin*)",
        "slot_probe::transaction::on_transaction_complete(dp::registrar&)",
        "slot_probe::transaction::on_transaction_event(dp::registrar&)",
    ]],
    "slot_probe::setting_transaction": [[
        "slot_probe::setting_transaction::~setting_transaction()",
        "slot_probe::setting_transaction::~setting_transaction()",
        "dp::transaction::execute_step(dp::registrar&, dp::plugin_list&)",
        "dp::setting_transaction::on_execute_step(dp::registrar&, dp::plugin_list&)",
        "dp::transaction::transaction_complete(dp::registrar&)",
        "dp::transaction::substep_complete(dp::registrar&, dp::plugin*)",
        "dp::setting_transaction::on_substep_complete(dp::registrar&, dp::plugin*)",
        "slot_probe::setting_transaction::on_transaction_complete(dp::registrar&)",
        "slot_probe::setting_transaction::on_transaction_event(dp::registrar&)",
    ]],
    "slot_probe::completion_callback": [[
        "slot_probe::completion_callback::operator()(dp::registrar&, dp::client_transaction*)",
    ]],
    "slot_probe::batch_file_intf": [[
        "slot_probe::batch_file_intf::process_entry(dp::batch_file_entry&, dp::registrar*)",
    ]],
}


def readable(name):
    """A function's name with the texts of long standard types shortened."""
    name = re.sub(r"std::__cxx11::basic_string<char, std::char_traits<char>, "
                  r"std::allocator<char> ?>", "STRING", name)
    name = re.sub(r"std::basic_(i|o)stream<char, std::char_traits<char> ?>", r"std::\1stream", name)
    return re.sub(r"^(non-virtual|virtual) thunk to ", "", name)


def tables(elf, expected):
    """For each expected class the tables of its vtable, each slot as the set of names that it has."""
    symbols = {s.name: s for s in elf.symbols(SHT_SYMTAB)}
    names_at = {}
    for symbol in symbols.values():
        # The lowest bit of an ARM address only selects the instruction set.
        names_at.setdefault(symbol.value & ~1, set()).add(symbol.name)
    relocations = elf.relocations()

    def mangled(class_name):
        return "_ZTVN" + "".join(f"{len(p)}{p}" for p in class_name.split("::")) + "E"

    result = {}
    for class_name in expected:
        symbol = symbols.get(mangled(class_name))
        if symbol is None:
            continue
        entries = []
        for address in range(symbol.value, symbol.value + symbol.size, elf.word):
            relocation = relocations.get(address)
            if relocation is None:
                entries.append(None)  # the distance to the object's beginning
            elif relocation.type == RELATIVE[elf.machine] and not relocation.symbol:
                entries.append(names_at.get(relocation.addend & ~1, {"?"}))
            else:
                entries.append({relocation.symbol})
        groups = []
        for index, entry in enumerate(entries):
            follows = entries[index + 1] if index + 1 < len(entries) else None
            if follows and any(n.startswith("_ZTI") for n in follows):
                groups.append([])
            elif not entry:
                groups[-1].append({"__cxa_pure_virtual"})  # empty in an abstract class
            elif not any(n.startswith("_ZTI") for n in entry):
                groups[-1].append(entry)
        result[class_name] = groups
    return result


def check(path, expected):
    elf = Elf(path)
    found = tables(elf, expected)
    mangled = sorted({n for groups in found.values() for g in groups for s in g for n in s})
    plain = dict(zip(mangled, map(readable, demangle(mangled))))
    plain["__cxa_pure_virtual"] = PURE
    faults = 0
    for class_name, groups in expected.items():
        shown = [[sorted({plain[n] for n in slot}) for slot in group]
                 for group in found.get(class_name, [])]
        matches = len(shown) == len(groups) and all(
            len(have) == len(want) and all(w in h for h, w in zip(have, want))
            for have, want in zip(shown, groups))
        if not matches:
            faults += 1
            print(f"{class_name}: the slots in {path} are\n  {shown}\nand should be\n  {groups}")
    print(f"{path}: {len(expected) - faults} of {len(expected)} classes have the order they must keep")
    return faults == 0


if __name__ == "__main__":
    library, probe = sys.argv[1:]
    results = [check(library, LIBRARY), check(probe, PROBE)]
    sys.exit(0 if all(results) else 1)
