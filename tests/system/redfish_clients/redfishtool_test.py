#!/usr/bin/python3
"""usage: redfishtool_test.py BUILD_DIR

Reads and changes settings with redfishtool.
"""

import json
import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import (BIOS, RESET_BIOS, SETTINGS, client_environment, require, run_test, skip)

TOOL = "/usr/bin/redfishtool"


class Tool:
    def __init__(self, server):
        self._server = server

    def run(self, *arguments, auth="Basic"):
        return subprocess.run(
            [TOOL, "-r", self._server.address, "-u", self._server.user, "-p",
             self._server.password, "-S", "Always", "-A", auth, *arguments],
            env=client_environment(), text=True, check=False, capture_output=True,
            stdin=subprocess.DEVNULL, timeout=60)

    def json(self, *arguments, **options):
        run = self.run(*arguments, **options)
        require(run.returncode == 0, f"redfishtool {arguments}: {run}")
        return json.loads(run.stdout)

    def refused(self, *arguments):
        run = self.run(*arguments)
        require(run.returncode != 0, f"redfishtool {arguments} succeeded: {run}")
        return run.stdout + run.stderr


def check_accounts(tool):
    made = tool.json("AccountService", "adduser", "eve", "first-7-tests", "ReadOnly")
    require((made["UserName"], made["RoleId"]) == ("eve", "ReadOnly"), f"adduser: {made}")
    for action, expected in ((("disable",), {"Enabled": False}), (("enable",), {"Enabled": True}),
                             (("unlock",), {"Locked": False}),
                             (("setRoleId", "Operator"), {"RoleId": "Operator"})):
        shown = tool.json("AccountService", "useradmin", "eve", *action)
        require(shown == expected, f"useradmin eve {action}: {shown}")
    run = tool.run("AccountService", "setpassword", "eve", "second-7-tests")
    require(run.returncode == 0, f"setpassword: {run}")
    seen = tool.json("-u", "eve", "-p", "second-7-tests", "AccountService", "Accounts", "-mUserName:eve")
    require(seen["RoleId"] == "Operator", f"eve with the new password: {seen}")
    run = tool.run("AccountService", "deleteuser", "eve")
    require(run.returncode == 0, f"deleteuser: {run}")
    names = {member["UserName"] for member in tool.json("AccountService", "Accounts", "list")["Members"]}
    require("eve" not in names, f"deleteuser left eve: {names}")


def check_sessions(tool):
    made = tool.json("SessionService", "login")
    listed = {member["Id"] for member in tool.json("SessionService", "Sessions", "list")["Members"]}
    require(made["SessionId"] in listed, f"login: {made}, {listed}")
    run = tool.run("-t", made["X-Auth-Token"], "SessionService", "logout", "-i", made["SessionId"],
                   auth="Session")
    require(run.returncode == 0, f"logout: {run}")
    require(tool.json("SessionService", "setSessionTimeout", "600") == {"SessionTimeout": 600}, "timeout")


def check_system_and_manager(tool):
    run = tool.run("Systems", "setBootOverride", "Disabled")
    require(run.returncode == 0, f"an override that is disabled: {run}")
    problem = tool.refused("Systems", "setBootOverride", "Once", "Pxe")
    require("not supported" in problem, f"an override: {problem}")
    tool.refused("Systems", "setAssetTag", "x")
    logs = tool.json("Managers", "Logs", "list")
    require(logs["Members@odata.count"] == 1, f"logs of the manager: {logs}")


def check_task(tool):
    run = tool.run("-H", '{"Prefer": "respond-async"}', "raw", "PATCH", SETTINGS, "-d",
                   json.dumps({"Attributes": {"PostDelay": 30}}))
    require(run.returncode == 0, f"a task: {run}")
    require(tool.json("raw", "GET", SETTINGS)["Attributes"]["PostDelay"] == 30, "not pending after a task")


def test(server):
    tool = Tool(server)
    for auth in ("Basic", "Session"):
        systems = tool.json("Systems", auth=auth)
        require(systems["Members@odata.count"] == 1, f"Systems with {auth}: {systems}")
    require(tool.json("Systems", "-F")["Bios"]["@odata.id"] == BIOS, "no Bios in Systems -F")
    require(tool.json("raw", "GET", BIOS)["Attributes"]["PostDelay"] == 0, "PostDelay is not 0")

    wanted = {"PostDelay": 15, "SrIov": False, "HardwareClock": "LocalTime"}
    tool.run("raw", "PATCH", SETTINGS, "-d", json.dumps({"Attributes": wanted}))
    pending = tool.json("raw", "GET", SETTINGS)["Attributes"]
    require(wanted.items() <= pending.items(), f"not pending: {wanted}")
    require(tool.json("raw", "GET", BIOS)["Attributes"]["PostDelay"] == 0, "current at once")

    run = tool.run("Systems", "-F", "reset", "GracefulRestart")
    require(run.returncode == 0, f"reset: {run}")
    current = tool.json("raw", "GET", BIOS)["Attributes"]
    require(wanted.items() <= current.items(), f"not current after the restart: {wanted}")

    problem = tool.refused("raw", "PATCH", SETTINGS, "-d", '{"Attributes": {"PostDelay": 61}}')
    require("400" in problem, f"a value out of range: {problem}")
    require(tool.json("raw", "GET", SETTINGS)["Attributes"]["PostDelay"] == 15, "refused and changed")

    run = tool.run("raw", "POST", RESET_BIOS, "-d", "{}")
    require(run.returncode == 0, f"ResetBios: {run}")
    defaults = tool.json("raw", "GET", SETTINGS)["Attributes"]
    require((defaults["PostDelay"], defaults["SrIov"]) == (0, True), f"no defaults: {defaults}")
    tool.refused("raw", "GET", BIOS + "/Nothing")
    check_task(tool)
    check_system_and_manager(tool)
    check_accounts(tool)
    check_sessions(tool)


if __name__ == "__main__":
    if not os.path.exists(TOOL):
        skip("redfishtool is not installed; ./dev clients installs it")
    sys.exit(run_test(test, sys.argv[1]))
