#!/usr/bin/env python3
"""usage: shell_test.py SOURCE_DIR BUILD_DIR

Runs tools/shell.sh with commands on standard input and on a terminal, ends it in every way, and checks that
nothing is left: no process, no folder, no message queue.
"""

import glob
import os
import pty
import re
import signal
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from waiting import PATIENCE_S, fail, until


class Shells:
    def __init__(self, source, build, folder):
        self.source = source
        self.command = [f"{source}/tools/shell.sh", build]
        self.folder = folder
        self.environment = {**os.environ, "TMPDIR": folder}
        self.prefixes = set()

    def roots(self):
        return glob.glob(f"{self.folder}/dp-shell.*")

    def processes(self):
        """Those that have one of the shells' folders as DP_ROOT."""
        found = []
        for path in glob.glob("/proc/[0-9]*/environ"):
            try:
                with open(path, "rb") as file:
                    variables = file.read().split(b"\0")
            except OSError:
                continue
            if any(v.startswith(f"DP_ROOT={self.folder}/".encode()) for v in variables):
                found.append(path)
        return found

    def run(self, commands, *options):
        result = subprocess.run([*self.command, *options], input=commands, text=True, check=False,
                                env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                timeout=PATIENCE_S)
        self.check_left("as soon as the shell ends")
        return result

    def start(self, *launcher, **options):
        return subprocess.Popen([*launcher, *self.command], env=self.environment, text=True, **options)

    def note_prefix(self):
        self.prefixes.update(os.path.basename(root) for root in self.roots())

    def check_left(self, when):
        if self.roots() or self.processes():
            fail(f"left {when}: {self.roots()} {self.processes()}")

    def check_left_soon(self, what):
        until(f"the end of everything after {what}", lambda: not self.roots() and not self.processes())

    def check_queues(self):
        subprocess.run([f"{self.source}/tests/system/left_queues.py", *self.prefixes], check=True)


def commands_of_standard_input(shells):
    result = shells.run("dpctl get System.HardwareClock\nprintf '%s\\n' \"$DP_ROOT\"\nexit 7\n")
    if result.returncode != 7:
        fail(f"exit code {result.returncode}: {result.stderr}")
    if not re.fullmatch(r"System\.HardwareClock=Utc\n.*/dp-shell\.\w+\n", result.stdout):
        fail(f"the commands print: {result.stdout}")
    if not re.search(r"^A simulated server with \d+ attributes runs in ", result.stderr, re.MULTILINE):
        fail(f"the greeting is: {result.stderr}")
    # What the greeting says works.
    tried = re.findall(r"^  (dpctl (?:list|show|set) \S+)$", result.stderr, re.MULTILINE)
    if len(tried) != 3:
        fail(f"the greeting is: {result.stderr}")
    name, value = tried[2].split()[2].split("=")
    result = shells.run("set -e\n" + "\n".join(tried) +
                        f"\ndp-server restart\ndpctl get --current {name}\ndpctl history\n")
    if result.returncode != 0 or f"\n{name}={value}\n" not in result.stdout:
        fail(f"{tried}: {result.stdout}{result.stderr}")


def the_page_and_its_password(shells):
    """curl reaches the Redfish service with what the greeting says."""
    result = shells.run('curl --silent --show-error --noproxy "*" --cacert "$DP_ROOT/var/lib/dp_redfish/certificate.pem" '
                        '--user "admin:$(cat "$DP_ROOT/password")" '
                        '"$(sed -n "s/^dp_redfishd: ready //p" "$DP_ROOT/redfish.ready")/redfish/v1/Systems"\n')
    greeting = re.search(r"^The setup page is (https://127\.0\.0\.1:\d+)/, and the Redfish service \1/redfish/v1\. The user "
                         r"is admin,\nthe password is in (/\S+)/password, and the certificate is\n"
                         r"\2/var/lib/dp_redfish/certificate\.pem\.$", result.stderr, re.MULTILINE)
    if not greeting or '"/redfish/v1/Systems/system"' not in result.stdout:
        fail(f"the Redfish service: {result.stdout}{result.stderr}")


def a_registry_and_wrong_usage(shells):
    registry = f"{shells.folder}/r.json"
    with open(registry, "w", encoding="utf-8") as file:
        file.write('{"RegistryVersion": "7.1", "RegistryEntries": {"Attributes": [{"AttributeName": "Only", '
                   '"Type": "String", "DefaultValue": "v", "MenuPath": "./Menu"}]}}')
    result = shells.run("dpctl get Menu.Only\n", "--registry", registry)
    if result.stdout != "Menu.Only=v\n" or "dpctl show Menu.Only" not in result.stderr:
        fail(f"with a registry: {result.stdout}{result.stderr}")
    for options, code in ((["--registry", f"{shells.folder}/missing"], 1), (["--registry"], 2),
                          (["--nonsense"], 2)):
        result = shells.run("echo ran\n", *options)
        if result.returncode != code or result.stdout or "shell" not in result.stderr:
            fail(f"{options}: exit code {result.returncode}, {result.stdout}{result.stderr}")


def killed(shells, sent):
    shell = shells.start(stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    shell.stdin.write("dpctl alerts 2>&1 &\n")
    shell.stdin.flush()
    if "listening" not in shell.stdout.readline():
        fail("no listener was started in the shell")
    shells.note_prefix()
    shell.send_signal(sent)
    shell.wait(PATIENCE_S)
    if sent != signal.SIGKILL:
        shells.check_left(f"by signal {sent}")
    shells.check_left_soon(f"signal {sent}")
    shell.stdin.close()
    shell.stdout.close()


def a_terminal_that_closes(shells):
    terminal, other = pty.openpty()
    shell = shells.start("setsid", "--ctty", stdin=other, stdout=other, stderr=other)
    os.close(other)
    os.write(terminal, b"stty -echo; dpctl get System.HardwareClock; dpctl alerts\n")
    output = b""
    while b"listening" not in output:
        output += os.read(terminal, 4096)
    if b"System.HardwareClock=Utc" not in output:
        fail(f"the terminal shows {output}")
    shells.note_prefix()
    # The interrupt key ends a command, and not the shell.
    os.write(terminal, b"\x03")
    os.write(terminal, b"echo still $((40 + 2)); sleep 1000 & sleep 1000\n")
    while b"still 42" not in output:
        output += os.read(terminal, 4096)
    os.close(terminal)
    shell.wait(PATIENCE_S)
    shells.check_left_soon("the terminal closed")


def main(source, build):
    with tempfile.TemporaryDirectory() as folder:
        shells = Shells(source, build, os.path.realpath(folder))
        commands_of_standard_input(shells)
        the_page_and_its_password(shells)
        a_registry_and_wrong_usage(shells)
        for sent in (signal.SIGTERM, signal.SIGKILL):
            killed(shells, sent)
        a_terminal_that_closes(shells)
        shells.check_queues()
    print("every shell ended without leaving anything")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
