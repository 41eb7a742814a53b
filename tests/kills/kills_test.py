#!/usr/bin/env python3
"""usage: kills_test.py BUILD_DIR [--rounds N] [--every N] [--seed N] [--only OPERATION/SIDE]
                        [--clients N]

Kills the settings service, and its clients, with SIGKILL: before and after each call that touches a
file (of which --every N tries each N-th), then N times (--rounds) at a random moment while several
clients work. After every kill the service is started again, and the values files, the history and
the status must agree with what the clients were told.
"""

import argparse
import os
import random
import re
import signal
import subprocess
import sys
import time

FOLDER = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(FOLDER), "faults"))
# pylint: disable=wrong-import-position # the folder must be known first
from fault_control import FILE_KINDS, KILL_BEFORE, FaultControl, kill_points, report_kills
from scratch_server import Broken, ScratchServer, require

# A client whose service was killed ends at the latest when it gives up waiting for the answer.
PATIENCE = 75.0


class Kills:
    def __init__(self, build, generator):
        self.server = ScratchServer(build)
        self._random = generator
        folder = self.server.folder()
        self._controls = {name: FaultControl(os.path.join(folder, name + ".kills"), name)
                          for name in ("dpctl", "dp-server", "dp_settingsd")}
        self._number = 1000  # none of these values is a default
        self._updates = 0
        self.kills = 0
        self.acknowledged = 0
        self.problems = []
        self.server.start(self._controls["dp_settingsd"])

    def close(self):
        self.server.close()

    def _next(self):
        self._number += 1
        return {"Boot.BootDelay": str(self._number), "System.AssetTag": f"t{self._number}"}

    def _arguments(self, operation, values):
        if operation == "set":
            return ["dpctl", "set", *(f"{n}={v}" for n, v in values.items())]
        if operation == "restart":
            return ["dp-server", "restart"]
        self._updates += 1
        is_new = self.server.values()["System.BiosVersion"] == "1"
        return ["dp-server", "update", "--template",
                self.server.update_template if is_new else self.server.template, "--build-id",
                f"K{self._updates}"]

    def count(self, operation, side):
        """The calls of an operation that is not killed."""
        control = self._control(operation, side)
        control.arm(FILE_KINDS)
        if operation == "start":
            self.server.stop()
            self.server.start(control)
        else:
            run = self.server.run(*self._arguments(operation, self._next()),
                                  control=control if side == "client" else None)
            require(run.code == 0, f"{operation} without a kill: {run}")
        time.sleep(0.05)
        calls = control.calls()
        control.disarm()
        return calls

    def _control(self, operation, side):
        if side == "service":
            return self._controls["dp_settingsd"]
        return self._controls["dpctl" if operation == "set" else "dp-server"]

    def run(self, operation, side, at, action):
        """One kill, and everything that must be true after it."""
        self.kills += 1
        try:
            self._run(operation, side, at, action)
        except Broken as problem:
            when = "before" if action == KILL_BEFORE else "after"
            text = f"{operation}/{side} killed {when} call {at}: {problem}"
            self.problems.append(text)
            print(f"BROKEN {text}", flush=True)
            for control in self._controls.values():
                control.disarm()
            self.server.kill()
            self.server.restore()
            self.server.start(self._controls["dp_settingsd"])

    def _run(self, operation, side, at, action):
        pending, current = self.server.values(), self.server.current()
        history = self.server.history()
        values = self._next() if operation == "set" else {}
        control = self._control(operation, side)
        code = None
        if operation == "start":
            self.server.stop()
            control.arm(FILE_KINDS, at, action)
            self.server.launch(control)
            if self.server.wait_until_ready():
                self._wait_for_rest(control)
            if control.fired():
                ended = self.server.wait()
                require(ended == -signal.SIGKILL, f"the start ended with {ended}")
        else:
            arguments = self._arguments(operation, values)
            control.arm(FILE_KINDS, at, action)
            code = self._run_client(arguments, control, side)
            self._wait_for_rest(control)
            if side == "service" and control.fired():
                # After it had answered.
                ended = self.server.wait()
                require(ended == -signal.SIGKILL, f"the service ended with {ended}")
        control.disarm()
        self._start_again()
        self._check(operation, code, values, pending, current, history)
        self._check_works()

    def _run_client(self, arguments, control, side):
        if side == "client":
            run = self.server.run(*arguments, control=control, bound=PATIENCE)
            require(run.code in (0, 1, -signal.SIGKILL), f"the client: {run}")
            self._settle()
            return run.code
        # The service is started again while the client may still be waiting.
        with subprocess.Popen([self.server.program(arguments[0]), *arguments[1:]],
                              env=self.server.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as client:
            deadline = time.monotonic() + PATIENCE
            while client.poll() is None and self.server.service.poll() is None:
                require(time.monotonic() < deadline, "the client hangs")
                time.sleep(0.002)
            if self.server.service.poll() is not None:
                control.disarm()
                self._start_again()
            try:
                _, err = client.communicate(timeout=PATIENCE)
            except subprocess.TimeoutExpired:
                client.kill()
                raise Broken("the client hangs") from None
        require(client.returncode in (0, 1), f"the client's exit code is {client.returncode}")
        require(client.returncode == 0 or err.strip(), "the client fails without a message")
        return client.returncode

    @staticmethod
    def _wait_for_rest(control):
        """Waits until the program makes no calls."""
        last = None
        while last != (last := control.counts()):
            time.sleep(0.02)

    def _settle(self):
        """Waits until the service has ended a request whose client was killed."""
        control = self._controls["dp_settingsd"]
        control.arm([])
        self._wait_for_rest(control)
        control.disarm()

    def _start_again(self):
        if self.server.service is not None and self.server.service.poll() is None:
            return
        if self.server.service is not None:
            code = self.server.wait()
            require(code == -signal.SIGKILL, f"the service ended with {code}: {self.server.log()}")
        self.server.start(self._controls["dp_settingsd"])
        self._settle()

    def _check(self, operation, code, values, pending, current, history):
        found, found_current = self.server.values(), self.server.current()
        if operation == "set":
            require(found in (pending, {**pending, **values}),
                    f"a part of {values} was stored: {found}")
            is_stored = found != pending
            require(code != 0 or is_stored, f"{values} was acknowledged and is lost: {found}")
            new = self.server.history()
            require(new[:len(history)] == history or len(new) < len(history),
                    f"older changes are missing: {history[-4:]} to {new[-8:]}")
            for name, value in values.items():
                times = new.count((name, value))
                require(times == (1 if is_stored else 0),
                        f"{name}={value} is {times} times in the history; stored: {is_stored}")
            require(found_current == current, f"the current values changed to {found_current}")
        elif operation == "restart":
            require(found == pending, f"the pending values changed to {found}")
            require(found_current in (current, pending), f"mixed current values {found_current}")
            require(code != 0 or found_current == pending, "an acknowledged restart is lost")
        elif operation == "update":
            other = "2" if pending["System.BiosVersion"] == "1" else "1"
            updated = {**pending, "System.BiosVersion": other}
            require(found in (pending, updated), f"mixed pending values {found}")
            require(code != 0 or found == updated, "an acknowledged update is lost")
        else:
            require((found, found_current) == (pending, current), "a start changed values")
        self.acknowledged += 1 if code == 0 else 0

    def _check_works(self):
        run = self.server.run("dpctl", "status")
        require(run.code == 0, f"status: {run}")
        run = self.server.run("dpctl", "get", "Boot.BootDelay")
        require(run.out == f"Boot.BootDelay={self.server.values()['Boot.BootDelay']}\n",
                f"get: {run}")

    # Random moments

    def run_random(self, rounds, clients=4):
        """Several clients change values of their own while the service is killed."""
        for _ in range(rounds):
            self.kills += 1
            try:
                self._run_random(clients)
            except Broken as problem:
                self.problems.append(f"random kill: {problem}")
                print(f"BROKEN random kill: {problem}", flush=True)
                self.server.kill()
                self.server.restore()
                self.server.start(self._controls["dp_settingsd"])

    def _run_random(self, clients):
        # Two clients change the same attributes: the last acknowledged change need not win, but
        # what is stored must be one of the changes, or what was there before.
        before = self.server.values()
        changes = [self._next() for _ in range(clients)]
        running = [subprocess.Popen([self.server.program("dpctl"), "set",
                                     *(f"{n}={v}" for n, v in change.items())],
                                    env=self.server.environment, stdin=subprocess.DEVNULL,
                                    stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
                   for change in changes]
        time.sleep(self._random.uniform(0, 0.08 * clients))
        self.server.kill()
        self.server.start(self._controls["dp_settingsd"])
        codes = []
        for client in running:
            try:
                _, err = client.communicate(timeout=PATIENCE)
            except subprocess.TimeoutExpired:
                client.kill()
                client.communicate()
                raise Broken("a client hangs") from None
            require(client.returncode in (0, 1), f"a client ended with {client.returncode}: {err}")
            codes.append(client.returncode)
        self._settle()
        found = self.server.values()
        pair = {name: found[name] for name in changes[0]}
        allowed = [change for change in changes] + [{n: before[n] for n in changes[0]}]
        require(pair in allowed, f"mixed values {pair} of {allowed}")
        history = self.server.history()
        for change, code in zip(changes, codes):
            for name, value in change.items():
                times = history.count((name, value))
                require(times <= 1, f"{name}={value} is {times} times in the history")
                require(code != 0 or times == 1, f"{name}={value} was acknowledged and is lost")
        self.acknowledged += codes.count(0)
        require(0 not in codes or pair in changes, "acknowledged changes are lost")
        self._check_works()


TARGETS = [("set", "service"), ("set", "client"), ("restart", "service"), ("restart", "client"),
           ("update", "service"), ("update", "client"), ("start", "service")]


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("build")
    parser.add_argument("--rounds", type=int, default=100)
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only")
    parser.add_argument("--clients", type=int, default=4)
    chosen = parser.parse_args()
    kills = Kills(chosen.build, random.Random(chosen.seed))
    began = time.monotonic()
    try:
        for operation, side in TARGETS:
            if chosen.only and chosen.only != f"{operation}/{side}":
                continue
            calls = kills.count(operation, side)
            before = kills.kills
            for at, action in kill_points(calls, chosen.every, chosen.seed):
                kills.run(operation, side, at, action)
            print(f"{operation}/{side}: {kills.kills - before} kills at {calls} calls", flush=True)
        kills.run_random(chosen.rounds, chosen.clients)
    finally:
        kills.close()
    return report_kills(kills, time.monotonic() - began)


if __name__ == "__main__":
    sys.exit(main())
