#!/usr/bin/env python3
"""The record of the sources that clang-tidy found clean.

usage: clang_tidy_record.py hash BUILD_DIR  <SOURCES      prints "HASH SOURCE" for each source
       clang_tidy_record.py changed RECORD...  <HASHES    prints the lines that no RECORD has

A hash covers the source, the project's files that it includes directly or indirectly, .clang-tidy,
the version of clang-tidy and the compile command. It does not depend on the path of the checkout, and
not on comments, except those that clang-tidy reads: NOLINT and the names of arguments.
Run it at the top of the tree.
"""

import hashlib
import json
import os
import re
import shlex
import subprocess
import sys

INCLUDE = re.compile(rb'^[ \t]*#[ \t]*include[ \t]*[<"]([^>"]+)[>"]', re.MULTILINE)
# Comments, and the texts and numbers in which there are none.
TOKEN = re.compile(rb"\b\d(?:'?[\w.])*"
                   rb'|R"([^(\s]*)\(.*?\)\1"'
                   rb'|"(?:\\.|[^"\\\n])*"'
                   rb"|'(?:\\.|[^'\\\n])*'"
                   rb"|//[^\n]*|/\*.*?\*/", re.DOTALL)
ARGUMENT = re.compile(rb"/\*\s*\w+\s*=\s*\*/")


def without_comments(content):
    """The content without the comments that clang-tidy does not read, and without empty lines."""
    def kept(match):
        text = match[0]
        is_comment = text.startswith((b"//", b"/*"))
        return b"" if is_comment and b"NOLINT" not in text and not ARGUMENT.fullmatch(text) else text
    lines = (line.rstrip() for line in TOKEN.sub(kept, content).splitlines())
    return b"\n".join(line for line in lines if line)


class Tree:
    """The files of the project and what they include."""

    def __init__(self):
        self.contents = {}
        self.included = {}

    def content(self, path):
        if path not in self.contents:
            with open(path, "rb") as file:
                self.contents[path] = file.read()
        return self.contents[path]

    def includes(self, path):
        """The project's files that the file names. Conditions are ignored: one file more is no harm."""
        if path not in self.included:
            names = [name.decode() for name in INCLUDE.findall(self.content(path))]
            beside = os.path.dirname(path)
            found = {os.path.normpath(candidate) for name in names
                     for candidate in (name, os.path.join(beside, name)) if os.path.isfile(candidate)}
            self.included[path] = sorted(found)
        return self.included[path]

    def closure(self, path):
        """The file and all that it includes, in a fixed order."""
        seen = {path}
        waiting = [path]
        while waiting:
            for name in self.includes(waiting.pop()):
                if name not in seen:
                    seen.add(name)
                    waiting.append(name)
        return sorted(seen)


def compile_flags(build_dir):
    """The compile options of each source, without paths of this checkout and without its outputs."""
    root = os.getcwd()
    flags = {}
    with open(os.path.join(build_dir, "compile_commands.json"), encoding="utf-8") as file:
        for entry in json.load(file):
            path = os.path.relpath(os.path.join(entry["directory"], entry["file"]), root)
            words = shlex.split(entry["command"])
            # Before the options: a launcher, if there is one, and the compiler.
            first = next(i for i, word in enumerate(words) if word.startswith("-"))
            words = [word.replace(root, "ROOT") for word in words[first:]]
            # A source that several targets compile counts with all its options.
            flags.setdefault(path, []).append(words[:words.index("-o")])
    return flags


def print_hashes(build_dir):
    tree = Tree()
    flags = compile_flags(build_dir)
    version = re.search(r"version (\d+)", subprocess.run(
        ["clang-tidy", "--version"], check=True, stdout=subprocess.PIPE, text=True).stdout)[1]
    for source in sys.stdin.read().splitlines():
        digest = hashlib.sha256(f"{version}\n{sorted(flags.get(source, []))}\n".encode())
        for name in [".clang-tidy", *tree.closure(source)]:
            content = without_comments(tree.content(name))
            digest.update(f"{name} {len(content)}\n".encode())
            digest.update(content)
        print(digest.hexdigest()[:32], source)


def print_changed(*records):
    clean = set()
    for record in records:
        if os.path.exists(record):
            with open(record, encoding="utf-8") as file:
                clean.update(file.read().splitlines())
    for line in sys.stdin.read().splitlines():
        if line not in clean:
            print(line)


def main():
    commands = {"hash": print_hashes, "changed": print_changed}
    if len(sys.argv) < 3 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    commands[sys.argv[1]](*sys.argv[2:])


if __name__ == "__main__":
    main()
