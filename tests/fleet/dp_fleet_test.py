#!/usr/bin/env python3
"""usage: dp_fleet_test.py SOURCE_DIR BUILD_DIR

Starts two servers with tools/dp-fleet, ends them in every way, and checks that nothing is left. Checks also
what it does when a server ends by itself, and with wrong usage.
"""

import glob
import os
import re
import resource
import signal
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from waiting import PATIENCE_S, fail, until


class Starter:
    def __init__(self, source, build, folder):
        self._command = [os.path.join(source, "tools", "dp-fleet"), "--build", build]
        self.folder = folder
        self._environment = {**os.environ, "TMPDIR": folder}

    def run(self, *arguments, before=None):
        return subprocess.run([*self._command, *arguments], env=self._environment, text=True, check=False,
                              capture_output=True, preexec_fn=before, timeout=PATIENCE_S)

    def start(self):
        # pylint: disable=consider-using-with # the caller ends it
        fleet = subprocess.Popen([*self._command, "2"], env=self._environment, text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        line = fleet.stdout.readline()
        if not line.startswith("dp-fleet: ready 2 "):
            fail(f"not ready: {line}{fleet.stderr.read()}")
        with open(line.split()[3], encoding="utf-8") as file:
            text = file.read()
        addresses = re.findall(r"redfish_address: (127\.0\.0\.1:\d+)", text)
        identifiers = re.findall(r"redfish_uuid: (\S+)", text)
        if len(set(addresses)) != 2 or len(set(identifiers)) != 2:
            fail(f"the inventory is {text}")
        for number, identifier in enumerate(identifiers, 1):
            self.check_identity(number, identifier)
        if os.stat(line.split()[3]).st_mode & 0o077:
            fail("others can read the inventory")
        return fleet

    def check_identity(self, number, identifier):
        """What the Redfish service shows of a server is in its product data."""
        found = glob.glob(f"{self.folder}/*/node-00{number}/var/dp/vpd.txt")
        if len(found) != 1:
            fail(f"product data: {found}")
        with open(found[0], encoding="utf-8") as file:
            data = dict(line.rstrip("\n").split("=", 1) for line in file)
        if (data.get("UUID"), data.get("HostName")) != (identifier, f"node-00{number}") or \
                not data.get("UEFIID") or not data.get("SerialNumber"):
            fail(f"node-00{number} {identifier} has the product data {data}")

    def processes(self, program=""):
        found = []
        for process in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{process}/environ", "rb") as file:
                    is_ours = f"DP_ROOT={self.folder}/".encode() in file.read()
                if is_ours and program in os.readlink(f"/proc/{process}/exe"):
                    found.append(int(process))
            except OSError:
                pass  # ended meanwhile
        return found

    def is_clean(self):
        return not os.listdir(self.folder) and not self.processes()


def test(starter):
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        fleet = starter.start()
        fleet.send_signal(number)
        if fleet.wait(timeout=PATIENCE_S) != 0:
            fail(f"signal {number}: exit {fleet.returncode}: {fleet.stderr.read()}")
        if not starter.is_clean():
            fail(f"left after signal {number}: {os.listdir(starter.folder)} {starter.processes()}")
    fleet = starter.start()
    fleet.kill()
    fleet.wait()
    until("the end of everything after SIGKILL", starter.is_clean)

    fleet = starter.start()
    os.kill(starter.processes("dp_redfishd")[0], signal.SIGKILL)
    line = fleet.stderr.readline()
    if not re.match(r"dp-fleet: dp_redfishd of node-00[12] ended with -9", line):
        fail(f"a server ended: {line}")
    fleet.send_signal(signal.SIGTERM)
    if fleet.wait(timeout=PATIENCE_S) != 1 or not starter.is_clean():
        fail(f"after a server ended: exit {fleet.returncode}")


def test_usage(starter):
    for arguments in ((), ("0",), ("x",), ("3", "--port", "65534"), ("3", "--jobs", "0")):
        run = starter.run(*arguments)
        if run.returncode != 2 or not run.stderr:
            fail(f"{arguments}: {run}")
    run = starter.run("1", "--registry", "/nowhere")
    if run.returncode != 1 or "/nowhere" not in run.stderr:
        fail(f"no registry: {run}")
    run = starter.run("7", "--check")
    if run.returncode != 0 or "inotify instances" not in run.stdout:
        fail(f"--check: {run}")
    few = 100
    run = starter.run("50", before=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (few, few)))
    if run.returncode != 1 or "50 servers need more than there is: descriptors" not in run.stderr:
        fail(f"few descriptors: {run}")
    if not starter.is_clean():
        fail(f"left: {os.listdir(starter.folder)}")


def main(source, build):
    with tempfile.TemporaryDirectory(prefix="dp-fleet-test.") as folder:
        starter = Starter(source, os.path.abspath(build), os.path.realpath(folder))
        test_usage(starter)
        test(starter)
    print("nothing was left")


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
