#!/usr/bin/env python3
"""usage: redfish_kills_test.py BUILD_DIR [--every N] [--seed N] [--only OPERATION]

Kills the Redfish service with SIGKILL before and after each call that touches a file or a socket (of which
--every N tries each N-th), while it changes settings and accounts and at its first start. After every kill it
is started again: what it acknowledged is there, nothing is half done, and no temporary file is left.
"""

import argparse
import base64
import http.client
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

FOLDER = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(FOLDER), "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import BOUND, SETTINGS, Broken, RedfishServer, require
from fault_control import FILE_KINDS, KILL_BEFORE, FaultControl, kill_points, report_kills

ACCOUNTS = "/redfish/v1/AccountService/Accounts"
STATE = "/var/lib/dp_redfish"
ATTRIBUTE = "PowerLimit"
REGISTRY = {"RegistryVersion": "1.0.0", "RegistryEntries": {"Attributes": [
    {"AttributeName": ATTRIBUTE, "Type": "Integer", "MenuPath": "./Setup/Power", "LowerBound": 0,
     "UpperBound": 1000000, "ScalarIncrement": 1, "DefaultValue": 5}]}}
OPERATIONS = ["settings", "create", "password", "remove", "first"]


class Kills:
    def __init__(self, build):
        with tempfile.NamedTemporaryFile("w", suffix=".json") as registry:
            json.dump(REGISTRY, registry)
            registry.flush()
            self.server = RedfishServer(build, registry_file=registry.name)
        self._control = FaultControl(os.path.join(self.server.folder(), "redfish.kills"), "dp_redfishd")
        self.server.environment.update(self._control.environment(self.server.interposer))
        self.server.start()
        self.server.start_redfish()
        self._number = 1000
        self._certificate = self._read("certificate.pem")
        self._old_password = ""  # of the account of the operation
        self.kills = 0
        self.acknowledged = 0
        self.problems = []

    def close(self):
        self.server.close()

    def _read(self, name):
        with open(self.server.path(f"{STATE}/{name}"), encoding="ascii") as file:
            return file.read()

    def _login_status(self, user, password):
        word = base64.b64encode(f"{user}:{password}".encode()).decode()
        return self.server.ask("GET", SETTINGS, headers={"Authorization": "Basic " + word}).status

    def _pending(self):
        return self.server.attributes(SETTINGS)[ATTRIBUTE]

    def _changes(self, value):
        return sum(1 for name, new in self.server.history()
                   if name.endswith("." + ATTRIBUTE) and new == str(value))

    # An operation: what must be there before, the request, and what must be true afterwards.

    def _prepare(self, operation):
        self._number += 1
        if operation in ("password", "remove"):
            self._old_password = f"the old one {self._number}"
            made = self.server.ask("POST", ACCOUNTS, {
                "UserName": f"user{self._number}", "Password": self._old_password, "RoleId": "ReadOnly"})
            require(made.status == 201, f"an account was not made: {made}")

    def _request(self, operation):
        account = f"{ACCOUNTS}/user{self._number}"
        return {
            "settings": ("PATCH", SETTINGS, {"Attributes": {ATTRIBUTE: self._number}}),
            "create": ("POST", ACCOUNTS, {"UserName": f"user{self._number}", "RoleId": "ReadOnly",
                                          "Password": f"the new one {self._number}"}),
            "password": ("PATCH", account, {"Password": f"the new one {self._number}"}),
            "remove": ("DELETE", account, None),
        }[operation]

    def _check(self, operation, is_done, before):
        user, new = f"user{self._number}", f"the new one {self._number}"
        if operation == "settings":
            found = self._pending()
            require(found in (before, self._number), f"the value {found} of nobody is pending")
            require(not is_done or found == self._number, "an acknowledged change is lost")
            require(self._changes(self._number) == (1 if found == self._number else 0),
                    "the history differs from the values")
            return
        exists = self.server.ask("GET", f"{ACCOUNTS}/{user}").status == 200
        if operation == "create":
            require(exists or not is_done, "an acknowledged account is lost")
            require(not exists or self._login_status(user, new) == 200, "an account is half made")
        elif operation == "password":
            statuses = self._login_status(user, self._old_password), self._login_status(user, new)
            require(exists and statuses in ((200, 401), (401, 200)), f"old and new password: {statuses}")
            require(not is_done or statuses == (401, 200), "an acknowledged password is lost")
        else:
            require(not exists or not is_done, "a deleted account is there again")
        if exists:
            removed = self.server.ask("DELETE", f"{ACCOUNTS}/{user}")
            require(removed.status == 204, f"an account cannot be deleted: {removed}")

    def _check_state_folder(self):
        found = set(os.listdir(self.server.path(STATE)))
        allowed = {"accounts.json", "certificate.pem", "uuid"}
        require(found == allowed, f"the state folder has {sorted(found)}")
        require(self._read("certificate.pem") == self._certificate, "the certificate is another one")

    def _start_again(self):
        if self.server.redfish is not None:
            try:
                code = self.server.redfish.wait(timeout=BOUND)
            except subprocess.TimeoutExpired:
                raise Broken("the killed service runs") from None
            require(code == -signal.SIGKILL, f"it ended with {code}: {self.server.redfish_log()[-2000:]}")
            self.server.redfish.stdout.close()
            self.server.redfish = None
        self._control.disarm()
        self.server.start_redfish()

    def _settle(self):
        """Waits until the service makes no calls."""
        last = None
        while last != (last := self._control.counts()):
            time.sleep(0.02)

    def _change(self, operation, at, action):
        """Whether the change was acknowledged. With `at` 0 nothing is killed."""
        connection = self.server.connect()
        try:
            # The password is known and the files are read: what is counted is the request's.
            require(self.server.ask("GET", SETTINGS, connection=connection).status == 200, "no answer")
            self._settle()
            self._control.arm(FILE_KINDS, at, action)
            method, path, body = self._request(operation)
            try:
                answer = self.server.ask(method, path, body, connection=connection)
            except (OSError, http.client.HTTPException):
                return False
            require(answer.status in (200, 201, 204), f"{method} {path}: {answer}")
            return True
        finally:
            connection.close()

    def _first_start(self, at, action):
        """A start without accounts, certificate and identifier."""
        kept = self.server.path(STATE)
        shutil.move(kept, kept + ".kept")
        try:
            self._control.arm(FILE_KINDS, at, action)
            try:
                self.server.start_redfish()
                self._settle()
            except Broken:
                require(at != 0 and self._control.fired(), "a first start failed")
            calls, is_killed = self._control.calls(), at != 0 and self._control.fired()
            if is_killed:
                self._start_again()
            found = set(os.listdir(self.server.path(STATE)))
            wanted = {"accounts.json", "accounts.json.first-password", "certificate.pem", "uuid"}
            require(found == wanted, f"a first start leaves {sorted(found)}")
            password = self._read("accounts.json.first-password").strip()
            require(self._login_status("admin", password) == 200, "the first password is wrong")
        finally:
            self._control.disarm()
            if self.server.redfish is not None:
                self.server.stop_redfish(signal.SIGKILL)
            shutil.rmtree(kept, ignore_errors=True)
            shutil.move(kept + ".kept", kept)
        return calls

    def count(self, operation):
        """The calls of an operation that is not killed."""
        if operation == "first":
            self.server.stop_redfish()
            return self._first_start(0, KILL_BEFORE)
        self._prepare(operation)
        before = self._pending()
        require(self._change(operation, 0, KILL_BEFORE), f"{operation} fails")
        self._settle()
        calls = self._control.calls()
        self._control.disarm()
        self._check(operation, True, before)
        return calls

    def run(self, operation, at, action):
        """One kill, and everything that must be true after it."""
        self.kills += 1
        try:
            if operation == "first":
                self._first_start(at, action)
                return
            self._prepare(operation)
            before = self._pending()
            is_done = self._change(operation, at, action)
            self._settle()
            if self._control.fired():
                self._start_again()
            self._control.disarm()
            self._check(operation, is_done, before)
            self._check_state_folder()
            self.acknowledged += 1 if is_done else 0
        except (Broken, OSError, http.client.HTTPException) as problem:
            when = "before" if action == KILL_BEFORE else "after"
            text = f"{operation} killed {when} call {at}: {problem}"
            self.problems.append(text)
            print(f"BROKEN {text}", flush=True)
            self._control.disarm()
            if operation != "first":
                self.server.stop_redfish(signal.SIGKILL)
                self.server.start_redfish()


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("build")
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", choices=OPERATIONS)
    chosen = parser.parse_args()
    kills = Kills(chosen.build)
    began = time.monotonic()
    try:
        for operation in OPERATIONS:  # "first" is last: it ends the service
            if chosen.only and chosen.only != operation:
                continue
            calls = kills.count(operation)
            before = kills.kills
            for at, action in kill_points(calls, chosen.every, chosen.seed):
                kills.run(operation, at, action)
            print(f"{operation}: {kills.kills - before} kills at {calls} calls", flush=True)
    finally:
        kills.close()
    return report_kills(kills, time.monotonic() - began)


if __name__ == "__main__":
    sys.exit(main())
