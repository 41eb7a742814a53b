#!/usr/bin/env python3
"""usage: zsh_completion_test.py SOURCE_DIR BUILD_DIR

Presses the tabulator key in an interactive zsh on a terminal, and checks what the completion of
dpctl makes of the line.
"""

import os
import pty
import select
import shutil
import sys
import time

FOLDER = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(FOLDER), "faults"))
# pylint: disable=wrong-import-position # the folder must be known first
from scratch_server import ScratchServer

# What is typed before the tabulator key, and the line that it makes.
LINES = [
    ("dpctl sh", "dpctl show "),
    ("dpctl help hist", "dpctl help history "),
    ("dpctl list --ch", "dpctl list --changed "),
    ("dpctl list Bo", "dpctl list Boot "),
    ("dpctl list --sort n", "dpctl list --sort name "),
    ("dpctl get Boot.BootM", "dpctl get Boot.BootMode "),
    ("dpctl get AssetT", "dpctl get AssetTag "),
    ("dpctl set BootM", "dpctl set BootMode="),
    ("dpctl set BootMode=L", "dpctl set BootMode=Legacy "),
    ("dpctl get --lock-timeout 5 System.As", "dpctl get --lock-timeout 5 System.AssetTag "),
]


class Shell:
    """An interactive zsh. A widget of it prints the line after each completion."""

    def __init__(self, source, server):
        folder = server.folder()
        with open(os.path.join(folder, ".zshrc"), "w", encoding="ascii") as file:
            file.write(f"""PS1='> '
fpath=({source}/tools/dpctl $fpath)
path=({os.path.dirname(server.program('dpctl'))} $path)
autoload -Uz compinit && compinit -u -d {folder}/dump
unsetopt beep
shown() {{ zle expand-or-complete; print -r -- "<$BUFFER>" >>{folder}/lines; zle kill-buffer }}
zle -N shown
bindkey '^I' shown
print ready >>{folder}/lines
""")
        self._lines = os.path.join(folder, "lines")
        environment = {**server.environment, "ZDOTDIR": folder, "TERM": "xterm"}
        self._pid, self._terminal = pty.fork()
        if self._pid == 0:
            os.execvpe("zsh", ["zsh", "-d", "-i"], environment)
        self._wait_for(1)

    def _wait_for(self, count):
        deadline = time.monotonic() + 60
        while time.monotonic() < deadline:
            if select.select([self._terminal], [], [], 0.05)[0]:
                os.read(self._terminal, 65536)
            if os.path.exists(self._lines):
                with open(self._lines, encoding="utf-8") as file:
                    lines = file.read().splitlines()
                if len(lines) >= count:
                    return lines
        raise TimeoutError(f"no line {count} from zsh")

    def complete(self, typed, count):
        os.write(self._terminal, typed.encode() + b"\t")
        return self._wait_for(count)[-1][1:-1]

    def close(self):
        os.close(self._terminal)
        os.waitpid(self._pid, 0)


def main(source, build):
    if shutil.which("zsh") is None:
        print("SKIPPED: no zsh")
        return 77
    server = ScratchServer(build)
    failed = False
    try:
        shell = Shell(os.path.abspath(source), server)
        for number, (typed, expected) in enumerate(LINES):
            line = shell.complete(typed, number + 2)
            if line != expected:
                print(f"{typed!r} becomes {line!r} instead of {expected!r}")
                failed = True
        shell.close()
    finally:
        server.close()
    print(f"{len(LINES)} lines completed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
