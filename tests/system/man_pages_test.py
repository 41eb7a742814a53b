#!/usr/bin/env python3
"""usage: man_pages_test.py MAN_FOLDER PROGRAM...

Checks that every program has a man page which documents the same options as its help.
"""

import glob
import os
import re
import subprocess
import sys


def help_of(command):
    return subprocess.run([*command, "--help"], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def options_of_program(program):
    """The options that the help of the program and of its subcommands lists."""
    texts = [help_of([program])]
    listed = re.search(r"^Subcommands:\n((?:  .*\n|\n)*)", texts[0], re.MULTILINE)
    if listed:
        for name in re.findall(r"^  (\S+) ", listed.group(1), re.MULTILINE):
            texts.append(help_of([program, name]))
    return {option for text in texts
            for names in re.findall(r"^  (-\S+)", text, re.MULTILINE)
            for option in names.split(",")}


def options_of_page(path):
    """The options that the page documents, not those that it only mentions."""
    with open(path, encoding="ascii") as file:
        items = re.findall(r"^\.It Fl (.*)$", file.read(), re.MULTILINE)
    return {f"-{word}" for item in items
            for word in re.split(r"\s*,\s*|\s+", re.sub(r" Ar .*", "", item))}


def main(folder, *programs):
    failed = not programs
    for program in programs:
        name = os.path.basename(program)
        pages = glob.glob(f"{folder}/{name}.[18]")
        if len(pages) != 1:
            print(f"{name}: has no man page")
            failed = True
            continue
        in_help, in_page = options_of_program(program), options_of_page(pages[0])
        # The page of a program without other options shows these in its synopsis only.
        for option in sorted(in_help - in_page - {"-h", "--help", "--version"}):
            print(f"{name}: {option} is not in {pages[0]}")
            failed = True
        for option in sorted(in_page - in_help):
            print(f"{name}: {pages[0]} documents {option}, which it does not have")
            failed = True
        print(f"{name}: {len(in_page)} options documented")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
