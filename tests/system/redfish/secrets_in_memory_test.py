#!/usr/bin/python3
"""usage: secrets_in_memory_test.py BUILD_DIR

Logs in, creates an account and changes passwords, and then looks for the passwords and tokens in the
memory of the Redfish service: it keeps none of them longer than it needs them.
"""

import base64
import json
import os
import re
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import REGISTRY, ROOT, require, run_test, skip

SESSIONS = ROOT + "SessionService/Sessions"
ACCOUNTS = ROOT + "AccountService/Accounts"
PATIENCE = 10


def memory_of(process):
    """The bytes of a process that it can write."""
    parts = []
    with open(f"/proc/{process}/maps", encoding="ascii") as maps, \
            open(f"/proc/{process}/mem", "rb", 0) as memory:
        for line in maps:
            found = re.match(r"([0-9a-f]+)-([0-9a-f]+) rw", line)
            if found:
                begin, end = (int(text, 16) for text in found.groups())
                try:
                    memory.seek(begin)
                    parts.append(memory.read(end - begin))
                except OSError:  # not in use
                    continue
    return parts


def found_in(process, secrets):
    parts = memory_of(process)
    return [f"{name}: {part[max(at - 60, 0):at + 80]!r}" for name, secret in secrets.items()
            for part in parts for at in [part.find(secret)] if at >= 0]


def basic(user, password):
    return base64.b64encode(f"{user}:{password}".encode())


def check(server):
    try:
        memory_of(server.redfish.pid)
    except PermissionError as problem:
        skip(f"no right to read another process's memory: {problem}")
    secrets = {}

    def post(path, body, status, **fields):
        answer = server.ask("POST", path, body, headers=fields)
        require(answer.status == status, f"POST {path}: {answer}")
        return answer

    passwords = [f"secret-{number}-{os.urandom(6).hex()}" for number in range(6)]
    for number, password in enumerate(passwords):
        secrets[f"password {number}"] = password.encode()
        secrets[f"Basic {number}"] = basic("eve", password)
    post(ACCOUNTS, {"UserName": "eve", "Password": passwords[0], "RoleId": "Operator"}, 201)
    tokens = []
    for _ in range(3):
        session = post(SESSIONS, {"UserName": "eve", "Password": passwords[0]}, 201)
        tokens.append(session.headers["X-Auth-Token"])
        secrets[f"token {len(tokens)}"] = tokens[-1].encode()
    own = server.ask("GET", ACCOUNTS + "/eve",
                     headers={"Authorization": "Basic " + basic("eve", passwords[0]).decode()})
    require(own.status == 200, own)
    by_token = {"Authorization": "", "X-Auth-Token": tokens[0]}
    changed = server.ask("PATCH", ACCOUNTS + "/eve", {"Password": passwords[1]}, headers=by_token)
    require(changed.status == 200, changed)
    post(ACCOUNTS + "/eve/Actions/ManagerAccount.ChangePassword",
         {"SessionAccountPassword": passwords[1], "NewPassword": passwords[2]}, 204, **by_token)
    # Refused requests have secrets too.
    post(SESSIONS, {"UserName": "eve", "Password": passwords[3]}, 401)
    post(SESSIONS, {"UserName": "eve", "Password": passwords[4], "Unknown": 1}, 400)
    broken = server.ask("POST", SESSIONS, json.dumps({"Password": passwords[5]}).encode() + b"}")
    require(broken.status == 400, broken)

    deadline = time.monotonic() + PATIENCE
    while left := found_in(server.redfish.pid, secrets):
        require(time.monotonic() < deadline, "in memory:\n" + "\n".join(left))
        time.sleep(0.2)  # threads finish what they do after an answer


if __name__ == "__main__":
    sys.exit(run_test(check, sys.argv[1], registry_file=REGISTRY))
