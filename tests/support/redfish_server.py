"""A simulated server with its settings service and its Redfish service, and a plain client for it."""

import base64
import http.client
import json
import os
import select
import signal
import ssl
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "faults"))
# pylint: disable=wrong-import-position # the folder must be known first
from scratch_server import BOUND, Broken, ScratchServer, require

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
REGISTRY = os.path.join(SOURCE, "examples", "registry", "server.registry.json")
SKIPPED = 77

ROOT = "/redfish/v1/"
SYSTEM = "/redfish/v1/Systems/system"
BIOS = SYSTEM + "/Bios"
SETTINGS = BIOS + "/Settings"
RESET = SYSTEM + "/Actions/ComputerSystem.Reset"
RESET_BIOS = BIOS + "/Actions/Bios.ResetBios"


def skip(reason):
    """Ends the test as one that cannot run here."""
    print(f"SKIPPED: {reason}")
    sys.exit(SKIPPED)


def client_environment(**variables):
    """The environment for a client: without the libraries of the build, proxies, and other
    certificates than its own."""
    dropped = {"LD_LIBRARY_PATH", "REQUESTS_CA_BUNDLE", "CURL_CA_BUNDLE", "SSL_CERT_FILE", "DP_ROOT",
               "http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}
    kept = {name: value for name, value in os.environ.items() if name not in dropped}
    return {**kept, **variables}


class Answer:
    """A response: its status, its headers, and its body as bytes."""

    def __init__(self, status, headers, body):
        self.status, self.headers, self.body = status, headers, body

    def json(self):
        return json.loads(self.body)

    def __str__(self):
        return f"{self.status} {dict(self.headers)} {self.body[:400]!r}"


class RedfishServer(ScratchServer):
    """The settings service runs from `start` on, the Redfish service from `start_redfish` on.
    `close` ends both."""

    user = "admin"
    password = "clients-7-tests"

    def __init__(self, build, registry_file=REGISTRY):
        super().__init__(build, registry_file=registry_file)
        self.redfish = None
        self.address = ""  # HOST:PORT
        self.port = 0
        self._redfish_log = os.path.join(self.folder(), "redfish.log")
        # pylint: disable=consider-using-with # "with" would not pass the input
        added = subprocess.run(
            [self.program("dp_redfishd"), "--add-account", self.user, "--role", "Administrator"],
            env=self.environment, input=self.password + "\n", text=True, check=False,
            capture_output=True, timeout=BOUND)
        require(added.returncode == 0, f"the account was not added: {added.stderr}")

    @property
    def url(self):
        return "https://" + self.address

    @property
    def certificate(self):
        return self.path("/var/lib/dp_redfish/certificate.pem")

    def start_redfish(self, *options, bound=BOUND):
        """Starts the service on a free port, or on that of the last start, and waits until it is
        ready."""
        as_root = ["--allow-root"] if os.geteuid() == 0 else []
        with open(self._redfish_log, "ab") as log:
            # pylint: disable=consider-using-with # it runs until it is stopped
            self.redfish = subprocess.Popen(
                [self.program("dp_redfishd"), "--port", str(self.port), *as_root, *options],
                env=self.environment, cwd=self.folder(), stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE, stderr=log)
        text = b""
        deadline = time.monotonic() + bound
        while not text.endswith(b"\n"):
            left = deadline - time.monotonic()
            require(left > 0, f"the Redfish service is not ready within {bound} s")
            if select.select([self.redfish.stdout], [], [], left)[0]:
                part = os.read(self.redfish.stdout.fileno(), 4096)
                require(part, f"the Redfish service did not start: {self.redfish_log()}")
                text += part
        self.address = text.decode().split()[-1].split("//")[1]
        self.port = int(self.address.rpartition(":")[2])

    def stop_redfish(self, number=signal.SIGTERM, bound=BOUND):
        """Sends a signal, and returns the exit code."""
        self.redfish.send_signal(number)
        code = self.redfish.wait(timeout=bound)
        self.redfish.stdout.close()
        self.redfish = None
        return code

    def redfish_log(self):
        with open(self._redfish_log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def close(self):
        if self.redfish is not None:
            self.stop_redfish(signal.SIGKILL)
        super().close()

    # A plain client

    def connect(self, bound=BOUND):
        """A connection that trusts the service's certificate, and no other."""
        context = ssl.create_default_context(cafile=self.certificate)
        return http.client.HTTPSConnection("127.0.0.1", self.port, context=context, timeout=bound)

    def basic(self):
        word = base64.b64encode(f"{self.user}:{self.password}".encode()).decode()
        return {"Authorization": "Basic " + word}

    def ask(self, method, path, body=None, headers=None, connection=None):
        """A request as the administrator; a body that is not bytes is sent as JSON."""
        fields = {**self.basic(), **(headers or {})}
        if body is not None and not isinstance(body, bytes):
            body = json.dumps(body).encode()
        if body is not None:
            fields.setdefault("Content-Type", "application/json")
        used = connection or self.connect()
        try:
            used.request(method, path, body=body, headers=fields)
            response = used.getresponse()
            return Answer(response.status, response.headers, response.read())
        finally:
            if connection is None:
                used.close()

    def get(self, path):
        answer = self.ask("GET", path)
        require(answer.status == 200, f"GET {path}: {answer}")
        return answer.json()

    def attributes(self, path=BIOS):
        return self.get(path)["Attributes"]


def run_test(body, build, **options):
    """Runs `body(server)` with a running server. The test's exit code."""
    server = RedfishServer(build, **options)
    try:
        server.start()
        server.start_redfish()
        body(server)
        require(server.stop_redfish() == 0, f"the Redfish service failed: {server.redfish_log()}")
        server.stop()
    except Broken as problem:
        print(f"FAILED: {problem}")
        return 1
    finally:
        server.close()
    print("done")
    return 0
