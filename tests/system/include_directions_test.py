#!/usr/bin/env python3
"""usage: include_directions_test.py SOURCE_DIR PUBLIC_HEADER_DIR

Checks that includes point downwards only: every folder includes what ALLOWED gives it, programs and
public headers include public headers of the library only, and no headers include each other in a
circle. Then checks that made-up violations are noticed.
"""

import os
import re
import sys
import tempfile

LIBRARY = {"common", "settings", "transactions", "batch", "logs", "exec", "bios"}
# What each part may include besides itself. Parts that are not named here are not checked.
ALLOWED = {
    "library": {"platform"},
    "platform": {"library"},
    "platform/posix": {"library", "platform"},
    "support": {"library", "platform"},
    # In sources; its headers are public.
    "service_api": {"library", "platform", "support"},
    "host": {"library", "platform", "platform/posix", "support", "service_api"},
    "tools": {"library", "platform", "platform/posix", "support", "service_api"},
    "redfish": {"library", "platform", "platform/posix", "support", "service_api"},
    "examples": {"library", "platform", "platform/posix", "service_api"},
}
# Parts that see the library and its platform as a customer does.
PUBLIC_ONLY = {"support", "service_api", "host", "tools", "redfish", "examples"}
# The encoder, which only the compiler of templates includes.
ALSO_PUBLIC = {"platform/posix/efi_compressor.hpp"}
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"]([^>"]+)[>"]', re.MULTILINE)


def part_of(path):
    if path == "dp_common.hpp":
        return "library"
    if path.startswith("platform/posix/"):
        return "platform/posix"
    folder = path.split("/", 1)[0]
    return "library" if folder in LIBRARY else folder


def read_includes(root):
    """The project's files that each source and header includes. Paths are relative to the root."""
    includes = {}
    for folder, folders, files in os.walk(root):
        folders[:] = [name for name in folders if not name.startswith((".", "build"))]
        for file in files:
            if not file.endswith((".cpp", ".hpp", ".c", ".h")):
                continue
            path = os.path.relpath(os.path.join(folder, file), root)
            with open(os.path.join(root, path), encoding="utf-8") as text:
                names = INCLUDE.findall(text.read())
            includes[path] = [name for name in names if os.path.isfile(os.path.join(root, name))]
            includes[path] += [f"{os.path.dirname(path)}/{name}" for name in names
                               if name not in includes[path] and
                               os.path.isfile(os.path.join(folder, name))]
    return includes


def circles(includes):
    """Finds the circles of headers by a depth-first search."""
    done, found = set(), []

    def visit(path, way):
        if path in way:
            found.append(" -> ".join([*way[way.index(path):], path]))
        elif path not in done:
            for name in includes.get(path, []):
                visit(name, [*way, path])
            done.add(path)

    for path in sorted(includes):
        visit(path, [])
    return found


def violations(root, public):
    includes = read_includes(root)
    found = []
    for path, names in sorted(includes.items()):
        part = part_of(path)
        for name in names:
            target = part_of(name)
            if part in ALLOWED and target != part and target not in ALLOWED[part]:
                found.append(f"{path} includes {name}: {part} must not include {target}")
            of_library = target in ("library", "platform", "platform/posix")
            if part in PUBLIC_ONLY and of_library and name not in public | ALSO_PUBLIC:
                found.append(f"{path} includes {name}, which is not public")
            if path in public and name not in public:
                found.append(f"{path} is public and includes {name}, which is not")
            if path == "bios/dp_api.h":
                found.append(f"{path} includes {name}; the C API needs no other header")
    return found + [f"circle: {circle}" for circle in circles(includes)]


# Files of a made-up tree, and how many violations they are.
MADE_UP = {
    "common/a.hpp": "",
    "common/private.hpp": "",
    "settings/b.hpp": '#include "common/a.hpp"\n#include "platform/log.hpp"\n',
    "platform/log.hpp": "",
    "support/c.hpp": '#include <common/a.hpp>\n#include "support/c2.hpp"\n',
    "support/c2.hpp": "",
    "host/d.cpp": '#include "support/c.hpp"\n',
    "tools/e.hpp": "",
}
MADE_UP_PUBLIC = {"common/a.hpp", "settings/b.hpp", "platform/log.hpp"}
WRONG = [
    ("common/a.cpp", '#include "platform/posix/p.hpp"\n'),
    ("common/a.cpp", '#  include "support/c.hpp"\n'),
    ("common/a.hpp", '#include "common/private.hpp"\n'),
    ("support/c.cpp", '#include "service_api/s.hpp"\n'),
    ("host/d.cpp", '#include "tools/e.hpp"\n'),
    ("tools/e.cpp", '#include "host/h.hpp"\n'),
    ("tools/e.cpp", '#include "common/private.hpp"\n'),
    ("support/c2.hpp", '#include "support/c.hpp"\n'),
    ("support/c2.hpp", '#include "c2.hpp"\n'),
    ("bios/dp_api.h", '#include "common/a.hpp"\n'),
]


def write_tree(root, files):
    for path, text in files.items():
        os.makedirs(os.path.join(root, os.path.dirname(path)), exist_ok=True)
        with open(os.path.join(root, path), "w", encoding="utf-8") as file:
            file.write(text)


def unnoticed():
    """The made-up violations that are not noticed, and violations noticed where there are none."""
    missed = []
    others = {"platform/posix/p.hpp": "", "service_api/s.hpp": "", "host/h.hpp": ""}
    for path, text in [("common/other.cpp", ""), *WRONG]:
        with tempfile.TemporaryDirectory() as root:
            write_tree(root, {**MADE_UP, **others, path: text})
            if bool(violations(root, MADE_UP_PUBLIC)) != bool(text):
                missed.append(f"{path} with {text!r}")
    return missed


def main(source_dir, public_dir):
    public = set(read_includes(public_dir))
    found = violations(source_dir, public)
    print("\n".join(found) or f"{len(public)} public headers; all includes point downwards")
    missed = unnoticed()
    for violation in missed:
        print(f"judged wrongly: {violation}")
    return 1 if found or missed or not public else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
