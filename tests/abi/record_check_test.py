#!/usr/bin/env python3
"""usage: record_check_test.py LIBRARY HEADER_FOLDER RECORD

Checks that the comparison with the record notices what would break a program that was linked against
the library: it must refuse copies of the record that differ from it.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

# What differs, and how a copy is changed to differ.
CHANGES = {
    "a field of the C API has moved": (
        r"layout-offset-in-bits='32'(>\s*<var-decl name='operation')",
        r"layout-offset-in-bits='96'\1"),
    "two fields of the C API have changed places": (
        r"(<var-decl name=')mni('(?:.|\n)*?<var-decl name=')mxi'", r"\1mxi\2mni'"),
    "a field of the C API has another type": (
        r"(<var-decl name='status' type-id=)'\w+'((?:.|\n)*?<var-decl name='new_value' type-id=)"
        r"('\w+')", r"\1\3\2\3"),
    "a class has grown": (
        r"(<class-decl name='process_log' size-in-bits=')\d+'", r"\g<1>4096'"),
    "a member of a class has another name": (
        r"(<var-decl name=')failed'", r"\1broken'"),
    "an operation of a batch has another number": (
        r"(<enumerator name='op_getv' value=')17'", r"\g<1>16'"),
}


def main(library, headers, record):
    if shutil.which("abidiff") is None:
        print("SKIPPED: abidiff (package abigail-tools) is not installed")
        return 0
    script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "abi_record.sh")
    with open(record, encoding="ascii") as file:
        text = file.read()
    failed = False
    present = tempfile.NamedTemporaryFile(suffix=".abi")
    subprocess.run([script, "--update", library, headers, present.name], check=True)
    for what, (pattern, replacement) in CHANGES.items():
        altered = re.sub(pattern, replacement, text)
        if altered == text:
            print(f"{what}: the ABI record contains nothing of this kind")
            failed = True
            continue
        with tempfile.NamedTemporaryFile("w", encoding="ascii", suffix=".abi") as copy:
            copy.write(altered)
            copy.flush()
            result = subprocess.run([script, "--compare", present.name, copy.name], check=False,
                                    stdout=subprocess.PIPE, text=True)
        noticed = result.returncode == 1 and "not the recorded one" in result.stdout
        print(f"{what}: {'noticed' if noticed else 'not noticed'}")
        failed |= not noticed
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
