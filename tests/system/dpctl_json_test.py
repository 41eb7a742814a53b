#!/usr/bin/python3
"""usage: dpctl_json_test.py SOURCE_DIR BUILD_DIR

Validates the documents of every dpctl subcommand, and those after failures and wrong usage, with the
schemas of docs/dpctl-json.schema.json. Runs with the system's own interpreter, whose packages include
the validator.
"""

import json
import os
import subprocess
import sys

FOLDER = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(FOLDER), "faults"))
# pylint: disable=wrong-import-position # the folder must be known first
from scratch_server import ScratchServer

try:
    import jsonschema
except ImportError:
    print("SKIPPED: no python3-jsonschema")
    sys.exit(77)


class Validation:
    def __init__(self, source, server):
        with open(os.path.join(source, "docs", "dpctl-json.schema.json"), encoding="utf-8") as file:
            self._schema = json.load(file)
        jsonschema.Draft202012Validator.check_schema(self._schema)
        self._server = server
        self.seen = set()
        self.problems = []
        self.count = 0

    def validate(self, name, document, what):
        self.count += 1
        validator = jsonschema.Draft202012Validator({**self._schema, "$ref": f"#/$defs/{name}"})
        for error in validator.iter_errors(document):
            details = "; ".join(e.message for e in error.context or [])
            self.problems.append(f"{what}: {error.json_path}: {error.message} {details}"[:1500])

    def run(self, name, *arguments, code=0):
        """Runs dpctl and validates its document with the schema NAME."""
        run = self._server.run("dpctl", *arguments, "--json")
        what = "dpctl " + " ".join(arguments)
        if run.code != code:
            self.problems.append(f"{what}: {run}")
        document = json.loads(run.out)
        if ("errors" in document) != (code in (1, 2)):
            self.problems.append(f"{what}: errors do not agree with exit code {code}")
        self.validate(name, document, what)
        if code in (0, 3):
            self.seen.add(arguments[0])
        return document

    def expect(self, condition, what):
        if not condition:
            self.problems.append(what)


def read_values(check):
    check.run("collections", "collections")
    for arguments in ((), ("Boot",), ("--changed",), ("--all", "--sort", "name")):
        check.run("list", "list", *arguments)
    check.run("list", "list", "Nothing", code=1)
    check.run("show", "show", "*")
    check.run("show", "show", "BootMode", "Nothing", code=1)
    check.run("get", "get", "--all")
    check.run("get", "get", "--current", "Boot*")
    check.run("get", "get", "Nothing", code=1)


def keep_bytes(check, server):
    other = os.path.join(server.folder(), "other.txt")
    with open(other, "wb") as file:
        file.write(b'0 0 t set System.AssetTag "a\xff\xfe" ""\n')
    document = check.run("get", "get", "AssetTag", "--settings-file", other)
    check.expect(bytes.fromhex(document["settings"][0]["value_bytes"]) == b"a\xff\xfe",
                 f"the bytes of a value are lost: {document}")
    document = check.run("list", "list", "System", "--settings-file", other)
    check.expect(any(s.get("pending_bytes") == "61fffe" for s in document["settings"]),
                 f"the bytes of a listed value are lost: {document}")


def change_values(check, server):
    server.start()
    state = os.path.join(server.folder(), "state.json")
    check.run("status", "status")
    check.run("history", "history")
    exported = check.run("export", "export")
    check.run("export", "export", "--all", "--current")
    check.run("export", "export", "Nothing", code=1)
    with open(state, "w", encoding="utf-8") as file:
        json.dump(exported, file)
    check.run("changes", "plan", state, code=3)
    check.run("diff", "diff", state, code=3)
    exported["Attributes"]["BootDelay"] = 9
    with open(state, "w", encoding="utf-8") as file:
        json.dump(exported, file)
    check.run("changes", "plan", state)
    check.run("changes", "plan", "--others-default", state)
    check.run("diff", "diff", state)
    check.run("diff", "diff", "--defaults", code=3)
    check.run("changes", "apply", state)
    check.run("changes", "apply", state, code=3)
    check.run("diff", "diff")
    check.run("changes", "revert", "BootDelay")
    check.run("changes", "revert", "--all", code=3)
    check.run("changes", "set", "BootDelay=8", "BootMode=Nothing", code=1)
    check.run("changes", "set", "--dry-run", "BootDelay=8")
    check.run("changes", "set", "BootDelay=8")
    check.run("changes", "apply", "--restart", state)
    check.run("status", "status")
    check.run("history", "history")
    check.run("check", "check", "Boot")
    check.run("check", "check", "Nothing", code=1)
    check.run("changes", "reset", "--all")
    check.run("changes", "plan", os.path.join(server.folder(), "nothing"), code=1)
    check.run("status", "status")
    check.run("history", "history")
    check.run("history", "history", "Nothing")
    check.run("check", "check", "Boot")
    check.run("failure", "alerts", "--count", "1", "--wait", "1", code=1)
    server.stop()
    check.run("changes", "set", "BootMode=Legacy", code=1)


def receive_alerts(check, server):
    """Each event is a document on a line."""
    server.start()
    # pylint: disable=consider-using-with # it runs while a value is changed
    listener = subprocess.Popen(
        [server.program("dpctl"), "alerts", "--count", "1", "--wait", "60", "--json"],
        env=server.environment, cwd=server.folder(), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    listener.stderr.readline()
    server.check(server.run("dpctl", "set", "BootDelay=8"))
    out, _ = listener.communicate(timeout=90)
    for line in out.splitlines():
        check.validate("alert", json.loads(line), "dpctl alerts")
        check.seen.add("alerts")
    server.stop()


def follow_status(check, server):
    # pylint: disable=consider-using-with # it runs until it is interrupted
    follower = subprocess.Popen([server.program("dpctl"), "status", "--follow", "--json"],
                                env=server.environment, cwd=server.folder(),
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    check.validate("statusRecord", json.loads(follower.stdout.readline()), "dpctl status --follow")
    follower.terminate()
    follower.communicate(timeout=60)


def all_subcommands(check, server):
    run = server.run("dpctl", "complete", "subcommands")
    missing = set(run.out.split()) - check.seen
    check.expect(not missing and run.code == 0, f"no document was validated: {missing}")


def without_a_server(check):
    check.run("categories", "categories")
    check.run("vet", "vet", "ls -l \"/tmp/a b\" > /tmp/list 2>&1")
    check.run("vet", "vet", "sort names | head", code=1)
    check.run("help", "help")
    check.run("help", "help", "list")
    check.run("version", "--version")
    for arguments in ((), ("lsit",), ("get",), ("list", "--frob"), ("check", "Boot", "--wait", "x"),
                      ("help", "nothing"), ("set", "novalue"), ("set",), ("reset",),
                      ("revert", "--all", "Boot"), ("diff", "a", "b", "c")):
        check.run("failure", *arguments, code=2)


def main(source, build):
    server = ScratchServer(build)
    try:
        check = Validation(source, server)
        read_values(check)
        keep_bytes(check, server)
        without_a_server(check)
        change_values(check, server)
        receive_alerts(check, server)
        follow_status(check, server)
        all_subcommands(check, server)
    finally:
        server.close()
    for problem in check.problems:
        print(problem)
    print(f"{check.count} documents validated")
    return 1 if check.problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
