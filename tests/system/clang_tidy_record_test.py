#!/usr/bin/env python3
"""usage: clang_tidy_record_test.py SOURCE_DIR

How .ci/clang_tidy_record.py decides which sources clang-tidy has to check again.
"""

import json
import os
import subprocess
import sys
import tempfile

FILES = {
    ".clang-tidy": "Checks: '*'\n",
    "a/a.cpp": '#include "a/a.hpp"\n',
    "a/a.hpp": "#include <b/b.hpp>\n",
    "b/b.hpp": "int c(int /*of*/);  // deep\n",
    "b/b.cpp": "const char* b = \"//\";\n",
}
SOURCES = "a/a.cpp\nb/b.cpp\n"


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def make_tree(root, launcher="", flags="-DX"):
    for name, text in FILES.items():
        write(f"{root}/{name}", text)
    commands = [{"directory": f"{root}/build", "file": f"{root}/{source}",
                 "command": f"{launcher}clang++ {flags} -I{root} -o x.o -c {root}/{source}"}
                for source in SOURCES.split()]
    write(f"{root}/build/compile_commands.json", json.dumps(commands))


def run(script, root, *arguments, text):
    environment = {**os.environ, "PATH": f"{os.path.dirname(root)}/bin:{os.environ['PATH']}"}
    return subprocess.run([script, *arguments], cwd=root, env=environment, input=text, check=True,
                          stdout=subprocess.PIPE, text=True).stdout


def main(source_dir):
    script = os.path.join(source_dir, ".ci/clang_tidy_record.py")
    failed = []

    def expect(what, found, wanted):
        if found != wanted:
            failed.append(f"{what}: {found!r} instead of {wanted!r}")

    with tempfile.TemporaryDirectory() as scratch:
        scratch = os.path.realpath(scratch)
        write(f"{scratch}/bin/clang-tidy", "#!/bin/sh\necho 'LLVM version 14.0.6'\n")
        os.chmod(f"{scratch}/bin/clang-tidy", 0o755)
        one, other, record = f"{scratch}/one", f"{scratch}/deeper/other", f"{scratch}/record"
        os.mkdir(f"{scratch}/deeper")
        os.symlink(f"{scratch}/bin", f"{scratch}/deeper/bin")
        make_tree(one)
        make_tree(other, launcher="ccache ")

        def hashes(root):
            return run(script, root, "hash", "build", text=SOURCES)

        def changed(root):
            lines = run(script, root, "changed", record, f"{scratch}/none", text=hashes(root))
            return [line.split()[1] for line in lines.splitlines()]

        expect("without a record", changed(one), ["a/a.cpp", "b/b.cpp"])
        write(record, hashes(one))
        expect("nothing changed", changed(one), [])
        expect("another checkout", changed(other), [])
        write(record, hashes(one).splitlines()[0] + "\n")
        expect("a missing line", changed(one), ["b/b.cpp"])
        write(record, hashes(one))
        for name, wanted in (("b/b.cpp", ["b/b.cpp"]), ("b/b.hpp", ["a/a.cpp"]),
                             (".clang-tidy", ["a/a.cpp", "b/b.cpp"])):
            write(f"{one}/{name}", FILES[name] + "# changed\n")
            expect(f"{name} changed", changed(one), wanted)
            write(f"{one}/{name}", FILES[name])
        for text, is_read in (("// said\n", False), ("\n/** said\n * more */\n\n", False),
                              ("int d; // NOLINT\n", True), ("// NOLINTNEXTLINE\n", True)):
            write(f"{one}/b/b.cpp", FILES["b/b.cpp"] + text)
            expect(f"added {text!r}", changed(one), ["b/b.cpp"] if is_read else [])
        write(f"{one}/b/b.cpp", FILES["b/b.cpp"].replace("//", "/"))
        expect("a text that looks like a comment", changed(one), ["b/b.cpp"])
        write(f"{one}/b/b.cpp", FILES["b/b.cpp"])
        write(f"{one}/b/b.hpp", "int c(int /*of=*/);\n")
        expect("the name of an argument", changed(one), ["a/a.cpp"])
        write(f"{one}/b/b.hpp", FILES["b/b.hpp"])
        make_tree(one, flags="-DY")
        expect("other options", changed(one), ["a/a.cpp", "b/b.cpp"])
    print("\n".join(failed) or "the record decides as documented")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
