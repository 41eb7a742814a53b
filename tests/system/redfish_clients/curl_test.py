#!/usr/bin/python3
"""usage: curl_test.py BUILD_DIR

Reads and changes settings with curl: with a session, entity tags, compression and an upload in chunks.
"""

import json
import os
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import BIOS, RESET, ROOT, SETTINGS, client_environment, require, run_test, skip

SESSIONS = ROOT + "SessionService/Sessions"


class Curl:
    def __init__(self, server):
        self._server = server

    def run(self, path, *arguments):
        """Status, headers with names in lower case, and body."""
        head = os.path.join(self._server.folder(), "curl.head")
        run = subprocess.run(
            ["curl", "--silent", "--show-error", "--max-time", "60", "--cacert",
             self._server.certificate, "--dump-header", head, *arguments, self._server.url + path],
            env=client_environment(), check=False, capture_output=True, stdin=subprocess.DEVNULL,
            timeout=90)
        require(run.returncode == 0, f"curl {path} {arguments}: {run}")
        with open(head, encoding="latin-1", newline="") as file:
            lines = file.read().rstrip("\r\n").split("\r\n\r\n")[-1].split("\r\n")
        fields = dict(line.split(": ", 1) for line in lines[1:])
        return (int(lines[0].split()[1]), {name.lower(): fields[name] for name in fields}, run.stdout)

    def send(self, method, path, value, *arguments):
        return self.run(path, "--request", method, "--header", "Content-Type: application/json",
                        "--data-binary", json.dumps(value), *arguments)


def test(server):
    curl = Curl(server)
    status, fields, _ = curl.send("POST", SESSIONS,
                                  {"UserName": server.user, "Password": server.password})
    require(status == 201 and fields["location"], f"no session: {status} {fields}")
    session = fields["location"].replace(server.url, "")
    token = ("--header", "X-Auth-Token: " + fields["x-auth-token"])

    status, fields, body = curl.run(SETTINGS, *token)
    require(status == 200 and json.loads(body)["Attributes"]["PostDelay"] == 0, f"GET: {body}")
    tag = fields["etag"]
    status, _, compressed = curl.run(SETTINGS, *token, "--compressed")
    require(compressed == body, "compressed is another body")
    status, _, nothing = curl.run(SETTINGS, *token, "--header", "If-None-Match: " + tag)
    require((status, nothing) == (304, b""), f"If-None-Match: {status} {nothing}")

    change = {"Attributes": {"PostDelay": 45}}
    matching = ("--header", "If-Match: " + tag)
    chunked = ("--header", "Transfer-Encoding: chunked")
    status, _, answer = curl.send("PATCH", SETTINGS, change, *token, *matching, *chunked)
    require(status == 200, f"PATCH: {status} {answer}")
    status, _, answer = curl.send("PATCH", SETTINGS, change, *token, *matching)
    require(status == 412, f"PATCH with an old tag: {status} {answer}")
    status, fields, _ = curl.send("PUT", SETTINGS, change, *token)
    require(status == 405 and "PATCH" in fields["allow"], f"PUT: {status} {fields}")

    status, _, answer = curl.send("POST", RESET, {"ResetType": "ForceRestart"}, *token)
    require(status in (200, 204), f"reset: {status} {answer}")
    status, _, body = curl.run(BIOS + "?$select=Attributes/PostDelay", *token)
    require(status == 200 and json.loads(body)["Attributes"]["PostDelay"] == 45, f"$select: {body}")

    status, _, _ = curl.run(session, *token, "--request", "DELETE")
    require(status in (200, 204), f"logout: {status}")
    status, _, _ = curl.run(BIOS, *token)
    require(status == 401, f"after the logout: {status}")
    status, fields, _ = curl.run(BIOS)
    require(status == 401 and "www-authenticate" in fields, f"without a login: {status} {fields}")


if __name__ == "__main__":
    if shutil.which("curl") is None:
        skip("curl is not installed; ./dev clients installs it")
    sys.exit(run_test(test, sys.argv[1]))
