#!/usr/bin/env python3
"""usage: load_test.py BUILD_DIR [--clients N] [--seconds S] [--pause MS] [--any-memory]

Many clients at once read and change the settings of a Redfish service, each on its own connection and each
changing an attribute of its own to ever greater numbers. In the middle the settings service is killed and
starts again a second later; then the Redfish service too. Nothing may be lost: what a client reads is what was
acknowledged, or what it asked for when no answer came; without the settings service changes are answered
with 503 and Retry-After; the memory does not grow. Prints the median and the 99th percentile of the times.
"""

import argparse
import asyncio
import json
import os
import random
import resource
import signal
import ssl
import statistics
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from process_memory import proportional_kib
from redfish_server import BIOS, SETTINGS, Broken, RedfishServer, require

CHANGES = 0.1  # of the requests
UNCHANGED = 0.3  # of those that read: with the entity tag of the last one
DOWN_S = 1.0
BOUND_S = 30
# What an allocator keeps may grow by that.
MEMORY_GROWTH = 1.25
MEMORY_GROWTH_KIB = 4096


def registry(clients):
    """A registry with an attribute for each client, and some that nobody changes."""
    attributes = [{"AttributeName": f"Client{number}", "Type": "Integer", "MenuPath": "./Setup/Load",
                   "LowerBound": 0, "UpperBound": 1_000_000_000, "DefaultValue": 0}
                  for number in range(clients)]
    attributes += [{"AttributeName": f"Mode{number}", "Type": "Enumeration", "MenuPath": "./Setup/Rest",
                    "Value": [{"ValueName": value} for value in ("Enabled", "Disabled")],
                    "DefaultValue": "Enabled"} for number in range(150)]
    return json.dumps({"RegistryEntries": {"Attributes": attributes}, "RegistryVersion": "1.0.0"})


class Counts:
    """What happened, for all clients."""

    def __init__(self):
        self.times = {"GET": [], "PATCH": []}  # while nothing starts or is killed
        self.answered = 0
        self.greatest_s = 0.0
        self.unchanged = 0
        self.busy = 0  # 503 while everything runs
        self.unavailable = 0  # 503 without the settings service
        self.lost_connections = 0

    def add(self, method, seconds, is_steady):
        self.answered += 1
        self.greatest_s = max(self.greatest_s, seconds)
        if is_steady:
            self.times[method].append(seconds)

    def line(self, method):
        times = sorted(self.times[method])
        require(len(times) > 1, f"no {method} was answered")
        return (f"{method}: {len(times)}, median {statistics.median(times) * 1000:.1f} ms, 99th "
                f"percentile {times[int(len(times) * 0.99)] * 1000:.1f} ms")


class Client:
    """One client, with one connection and an attribute of its own."""

    def __init__(self, number, load):
        self._name = f"Client{number}"
        self._load = load
        self._streams = None
        self._tag = ""
        self._tag_value = None
        self.is_served = False
        self.waits_for_change = False
        self.acknowledged = 0
        self.asked = 0

    async def _connect(self):
        if self._streams is None:
            self._streams = await asyncio.open_connection(
                "127.0.0.1", self._load.server.port, ssl=self._load.context)
        return self._streams

    def drop(self):
        if self._streams is not None:
            self._streams[1].transport.abort()
            self._streams = None

    async def _exchange(self, method, path, body=b"", headers=""):
        """Status, headers with names in lower case, body."""
        reader, writer = await self._connect()
        head = (f"{method} {path} HTTP/1.1\r\nHost: 127.0.0.1\r\n{self._load.login}"
                f"Content-Type: application/json\r\nContent-Length: {len(body)}\r\n{headers}\r\n")
        writer.write(head.encode() + body)
        lines = (await reader.readuntil(b"\r\n\r\n")).decode("latin-1").split("\r\n")
        fields = {}
        for line in lines[1:-2]:
            name, _, value = line.partition(": ")
            fields[name.lower()] = value
        answer = await reader.readexactly(int(fields.get("content-length", 0)))
        if fields.get("connection", "") == "close":
            self.drop()
        return int(lines[0].split()[1]), fields, answer

    async def ask(self, method, path, body=b"", headers=""):
        """The same, timed; nothing if the connection was lost, which only a killed service may do."""
        began = time.monotonic()
        try:
            async with asyncio.timeout(BOUND_S):
                answer = await self._exchange(method, path, body, headers)
        except (OSError, EOFError) as error:
            self.drop()
            require(self._load.is_redfish_killed, f"{method} {path}: {error!r}")
            self._load.counts.lost_connections += 1
            return None
        except TimeoutError:
            raise Broken(f"{method} {path}: no answer within {BOUND_S} s") from None
        self.is_served = True
        status, fields, text = answer
        if status == 503:
            require("retry-after" in fields, f"{method} {path}: 503 without Retry-After")
            if self._load.is_settings_down:
                self._load.counts.unavailable += 1
            else:
                self._load.counts.busy += 1
            return answer
        require(status in (200, 204, 304), f"{method} {path}: {status} {text[:600]}")
        self._load.counts.add(method, time.monotonic() - began, self._load.is_steady)
        return answer

    async def change(self):
        value = max(self.asked, self.acknowledged) + 1
        self.asked = value
        body = json.dumps({"Attributes": {self._name: value}}).encode()
        self.waits_for_change = True
        answer = await self.ask("PATCH", SETTINGS, body)
        self.waits_for_change = False
        if answer is None:
            return
        status, fields, text = answer
        if status != 503:
            require(json.loads(text)["Attributes"][self._name] == value, "the answer has another value")
            self.acknowledged = value
        else:
            await asyncio.sleep(min(float(fields["retry-after"]), DOWN_S))

    async def read(self):
        if random.random() < 0.5:
            await self.ask("GET", BIOS)
            return
        use_tag = self._tag and random.random() < UNCHANGED
        answer = await self.ask("GET", SETTINGS,
                                headers=f"If-None-Match: {self._tag}\r\n" if use_tag else "")
        if answer is None or answer[0] == 503:
            return
        if answer[0] == 304:
            self._load.counts.unchanged += 1
            value = self._tag_value
        else:
            value = json.loads(answer[2])["Attributes"][self._name]
            self._tag, self._tag_value = answer[1]["etag"], value
        self.check(value)

    def check(self, value):
        """What a client reads is what was acknowledged last, or what it asked for since without an
        answer. From then on that counts."""
        require(self.acknowledged <= value <= self.asked,
                f"{self._name} is {value}, acknowledged {self.acknowledged}, asked for {self.asked}")
        self.acknowledged = value

    async def run(self):
        await asyncio.sleep(random.random() * self._load.pause)
        while not self._load.is_over:
            if self._load.is_redfish_down:
                await asyncio.sleep(0.05)
                continue
            is_change = self._load.is_about_to_kill or random.random() < CHANGES
            await (self.change() if is_change else self.read())
            await asyncio.sleep(self._load.pause * random.uniform(0.5, 1.5))
        # Whatever happened, in the end everybody sees the truth.
        for _ in range(100):
            answer = await self.ask("GET", SETTINGS)
            if answer is not None and answer[0] == 200:
                self.check(json.loads(answer[2])["Attributes"][self._name])
                break
            await asyncio.sleep(0.1)
        else:
            raise Broken(f"{self._name} could not read its value in the end")
        self.drop()


class Load:
    def __init__(self, server, options):
        self.server = server
        self.pause = options.pause / 1000
        self._seconds = options.seconds
        self.counts = Counts()
        self.context = ssl.create_default_context(cafile=server.certificate)
        self.login = "".join(f"{name}: {value}\r\n" for name, value in server.basic().items())
        self.clients = [Client(number, self) for number in range(options.clients)]
        self.is_over = False
        self.is_steady = False
        self.is_about_to_kill = False  # all clients change values
        self.is_settings_down = False
        self.is_redfish_down = False
        self.is_redfish_killed = False  # connections of before may still break
        self.memory = []

    async def _disturb(self):
        """Kills the services in the middle. The rest of the time is the same load."""
        while not all(client.is_served for client in self.clients):
            await asyncio.sleep(0.05)
        await asyncio.sleep(self._seconds * 0.1)
        self.memory.append(proportional_kib(self.server.redfish.pid))
        self.is_steady = True
        await asyncio.sleep(self._seconds * 0.6)
        self.is_steady = False
        await self._wait_for_changes()
        self.is_settings_down = True
        self.server.kill()
        self.is_about_to_kill = False
        await asyncio.sleep(DOWN_S)
        before = self.counts.unavailable
        await self._refused_change()
        require(self.counts.unavailable > before, "a change without the settings service")
        await asyncio.to_thread(self.server.start)
        await asyncio.sleep(1)  # answers of before may still be under way
        self.is_settings_down = False
        await asyncio.sleep(self._seconds * 0.3)
        self.memory.append(proportional_kib(self.server.redfish.pid))
        await self._wait_for_changes()
        self.is_redfish_down = self.is_redfish_killed = True
        self.server.stop_redfish(signal.SIGKILL)
        self.is_about_to_kill = False
        await asyncio.to_thread(self.server.start_redfish)
        self.is_redfish_down = False
        await asyncio.sleep(1)
        self.is_redfish_killed = False
        self.is_over = True

    async def _wait_for_changes(self):
        """Until clients wait for their changes."""
        self.is_about_to_kill = True
        while sum(client.waits_for_change for client in self.clients) < 2:
            await asyncio.sleep(0.001)

    async def _refused_change(self):
        status, fields, _ = await self.clients[0].ask("PATCH", SETTINGS, b'{"Attributes":{"Mode0":"Disabled"}}')
        require(status == 503 and "retry-after" in fields, f"without the settings service: {status}")

    async def run(self):
        async with asyncio.TaskGroup() as group:
            group.create_task(self._disturb())
            for client in self.clients:
                group.create_task(client.run())


def check_file(server, load):
    """The file has the values that the clients saw in the end."""
    values = {name.rpartition(".")[2]: value for name, value in server.values().items()}
    for number, client in enumerate(load.clients):
        found = int(values.get(f"Client{number}", 0))
        require(found == client.acknowledged,
                f"Client{number} is {found} in the file, and was acknowledged as {client.acknowledged}")


def run(build, options):
    with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
        file.write(registry(options.clients))
        file.flush()
        server = RedfishServer(build, registry_file=file.name)
    try:
        server.start()
        server.start_redfish()
        load = Load(server, options)
        began = time.monotonic()
        try:
            asyncio.run(load.run())
        except ExceptionGroup as group:
            raise group.exceptions[0]
        seconds = time.monotonic() - began
        check_file(server, load)
        counts = load.counts
        print(f"{options.clients} clients, {seconds:.0f} s, {counts.answered / seconds:.0f} answers a second")
        print(counts.line("GET"))
        print(counts.line("PATCH"))
        print(f"not modified: {counts.unchanged}; 503 from a busy service: {counts.busy}, without the "
              f"settings service: {counts.unavailable}; connections lost by a kill: "
              f"{counts.lost_connections}; greatest time: {counts.greatest_s * 1000:.0f} ms")
        first, last = load.memory
        print(f"memory of dp_redfishd: {first / 1024:.1f} MiB, {last / 1024:.1f} MiB in the end")
        bound = max(first * MEMORY_GROWTH, first + MEMORY_GROWTH_KIB)
        require(options.any_memory or last <= bound, "the memory grows")
        require(server.stop_redfish() == 0, f"the Redfish service failed: {server.redfish_log()}")
        server.stop()
    finally:
        server.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[1])
    parser.add_argument("build")
    parser.add_argument("--clients", type=int, default=200)
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--pause", type=float, default=200, help="between two requests of a client, ms")
    parser.add_argument("--any-memory", action="store_true", help="do not check that it stays flat")
    options = parser.parse_args()
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (max(soft, min(hard, 4 * options.clients + 64)), hard))
    try:
        run(options.build, options)
    except Broken as problem:
        print(f"FAILED: {problem}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
