#!/usr/bin/python3
"""usage: fleet_test.py BUILD_DIR [--table] N...

Starts N simulated servers, brings them to a desired state with the example's playbook, runs it again, which
must change nothing, and stops them, which must leave nothing. Prints what that took; with --table as a
Markdown table.
"""

import base64
import glob
import http.client
import json
import os
import resource
import signal
import ssl
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
import ansible
from process_memory import proportional_kib
from redfish_server import BIOS, RESET, SETTINGS, SOURCE, Broken, require, skip

EXAMPLE = os.path.join(SOURCE, "examples", "fleet")
PLAYBOOK = os.path.join(EXAMPLE, "fleet.yml")

# With more servers, what one of them does is not tried again.
MOST_FOR_DETAILS = 10


class Fleet:
    """dp-fleet as a process."""

    def __init__(self, build, count, folder):
        self.count = count
        self.inventory = os.path.join(folder, "inventory.yml")
        report = os.path.join(folder, "report.json")
        # dp-fleet makes its folder below this one.
        self.folder = os.path.join(folder, "roots")
        os.mkdir(self.folder)
        began = time.monotonic()
        # pylint: disable=consider-using-with # it runs until `stop`
        self.process = subprocess.Popen(
            [os.path.join(SOURCE, "tools", "dp-fleet"), str(count), "--build", build, "--inventory",
             self.inventory, "--report", report],
            env={**os.environ, "TMPDIR": self.folder}, stdout=subprocess.PIPE, text=True)
        line = self.process.stdout.readline()
        require(line.startswith("dp-fleet: ready "), f"dp-fleet did not start: {line}")
        self.start_s = time.monotonic() - began
        with open(report, encoding="utf-8") as file:
            self.servers = json.load(file)
        with open(self.inventory, encoding="utf-8") as file:
            self._password = file.read().rsplit("redfish_password: ", 1)[1].strip()

    def ask(self, server, method, path, body=None):
        context = ssl.create_default_context(
            cafile=os.path.join(server["root"], "var/lib/dp_redfish/certificate.pem"))
        connection = http.client.HTTPSConnection("127.0.0.1", server["port"], context=context, timeout=60)
        word = base64.b64encode(f"admin:{self._password}".encode()).decode()
        try:
            connection.request(method, path, body=json.dumps(body) if body else None,
                               headers={"Authorization": "Basic " + word,
                                        "Content-Type": "application/json"})
            response = connection.getresponse()
            text = response.read()
            require(response.status < 300, f"{method} {path} of {server['name']}: {text[:500]}")
            return json.loads(text) if text else {}
        finally:
            connection.close()

    def attributes(self, server):
        return self.ask(server, "GET", BIOS)["Attributes"]

    def starts(self):
        """When each server's current values were last written."""
        return [os.stat(os.path.join(server["root"], "var/dp/uefi_current.txt")).st_mtime_ns
                for server in self.servers]

    def memory_kib(self, kind):
        return statistics.median(proportional_kib(server[kind + "_pid"]) for server in self.servers)

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        code = self.process.wait(timeout=120)
        # By a signal, as the shell has it.
        require(code == 0, f"dp-fleet ended with {code}")
        require(not os.listdir(self.folder), f"left: {os.listdir(self.folder)}")
        for path in glob.glob("/proc/[0-9]*/environ"):
            try:
                with open(path, "rb") as file:
                    require(f"DP_ROOT={self.folder}/".encode() not in file.read(), f"left: {path}")
            except OSError:
                pass  # ended meanwhile

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()


def timed_play(fleet, folder):
    """The outcome, its seconds, and the processor seconds of Ansible's processes."""
    def used():
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        return usage.ru_utime + usage.ru_stime

    used_before, began = used(), time.monotonic()
    outcome = ansible.play(PLAYBOOK, fleet.inventory, folder)
    return outcome, time.monotonic() - began, used() - used_before


def check_values(fleet, desired):
    for server in fleet.servers:
        found = fleet.attributes(server)
        for name, value in desired.items():
            require(found[name] == value and isinstance(found[name], type(value)),
                    f"{name} of {server['name']} is {found[name]!r}")


def check_one_changed_server(fleet, desired, folder):
    """One of three servers gets another value: only that one is changed and restarted."""
    other = fleet.servers[1]
    name, value = next(iter(desired.items()))
    fleet.ask(other, "PATCH", SETTINGS, {"Attributes": {name: "Balanced", "PostDelay": 5}})
    fleet.ask(other, "POST", RESET, {"ResetType": "ForceRestart"})
    require(fleet.attributes(other)[name] != value, "the server was not changed")
    before = fleet.starts()
    names = [server["name"] for server in fleet.servers[:3]]
    run = ansible.play(PLAYBOOK, fleet.inventory, folder, "--limit", ",".join(names))
    require(run.is_good(len(names)) and
            [run.changed[name] > 0 for name in names] == [False, True, False], f"one changed: {run}")
    after = fleet.starts()
    require([a != b for a, b in zip(after, before)] == [server is other for server in fleet.servers],
            "other servers were restarted")
    require(fleet.attributes(other)["PostDelay"] == 5, "what is not desired was changed")


def check_unknown_attribute(fleet, folder):
    """Nothing of a desired state that a server does not have is changed."""
    path = os.path.join(folder, "unknown.json")
    with open(path, "w", encoding="ascii") as file:
        json.dump({"Attributes": {"BootTimeout": 20, "NoSuchSetting": 1}}, file)
    name = fleet.servers[0]["name"]
    run = ansible.play(PLAYBOOK, fleet.inventory, folder, "--limit", name, "--extra-vars",
                       f"desired_file={path}")
    require(run.code != 0 and "The server has no NoSuchSetting" in run.text, f"unknown: {run}")
    require(fleet.ask(fleet.servers[0], "GET", SETTINGS)["Attributes"]["BootTimeout"] == 10,
            "a part of it was changed")


def measure(build, count, folder):
    with open(os.path.join(EXAMPLE, "desired", "all.json"), encoding="utf-8") as file:
        desired = json.load(file)["Attributes"]
    fleet = Fleet(build, count, folder)
    try:
        first, first_s, first_processor_s = timed_play(fleet, folder)
        require(first.is_good(count) and all(first.changed.values()), f"first run: {first}")
        check_values(fleet, desired)
        before = fleet.starts()
        second, second_s, second_processor_s = timed_play(fleet, folder)
        require(second.is_good(count) and not any(second.changed.values()), f"second run: {second}")
        require(fleet.starts() == before, "servers were restarted for nothing")
        figures = {
            "count": count,
            "settings_kib": fleet.memory_kib("settings"), "redfish_kib": fleet.memory_kib("redfish"),
            "settings_s": statistics.median(server["settings_s"] for server in fleet.servers),
            "redfish_s": statistics.median(server["redfish_s"] for server in fleet.servers),
            "start_s": fleet.start_s, "first_s": first_s, "second_s": second_s,
            "first_each_s": first_processor_s / count, "second_each_s": second_processor_s / count}
        if 3 <= count <= MOST_FOR_DETAILS:
            check_one_changed_server(fleet, desired, folder)
            check_unknown_attribute(fleet, folder)
        fleet.stop()
        return figures
    finally:
        fleet.kill()


def line_of(figures):
    return (f"{figures['count']} servers: started in {figures['start_s']:.1f} s, converged in "
            f"{figures['first_s']:.1f} s, nothing to do in {figures['second_s']:.1f} s; each "
            f"{figures['settings_kib'] / 1024:.1f} + {figures['redfish_kib'] / 1024:.1f} MiB, ready "
            f"after {figures['settings_s'] * 1000:.0f} + {figures['redfish_s'] * 1000:.0f} ms")


def table_of(rows):
    lines = ["| Servers | Memory of `dp_settingsd` | of `dp_redfishd` | Start of `dp_settingsd` | of "
             "`dp_redfishd` | Start of all | Converge | Nothing to do | Ansible's processor time for "
             "each: converge | nothing to do |",
             "| ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: |"]
    for row in rows:
        lines.append(f"| {row['count']} | {row['settings_kib'] / 1024:.1f} MiB | "
                     f"{row['redfish_kib'] / 1024:.1f} MiB | {row['settings_s'] * 1000:.0f} ms | "
                     f"{row['redfish_s'] * 1000:.0f} ms | {row['start_s']:.1f} s | "
                     f"{row['first_s']:.0f} s | {row['second_s']:.0f} s | "
                     f"{row['first_each_s']:.1f} s | {row['second_each_s']:.1f} s |")
    return "\n".join(lines)


def main(build, *arguments):
    if ansible.missing():
        skip(ansible.missing())
    counts = [int(argument) for argument in arguments if argument != "--table"]
    rows = []
    for count in counts:
        with tempfile.TemporaryDirectory(prefix="dp-fleet-test.") as folder:
            try:
                rows.append(measure(os.path.abspath(build), count, folder))
            except Broken as problem:
                print(f"FAILED: {count} servers: {problem}")
                return 1
        print(line_of(rows[-1]), flush=True)
    if "--table" in arguments:
        print(table_of(rows))
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
