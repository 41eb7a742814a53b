#!/usr/bin/python3
"""usage: redfish_bench.py BUILD_DIR [--registry FILE] [--rounds N] [--seconds S] [--connections C]

Compares the Redfish service with nginx, which serves the same bytes as static files: requests a second and the
99th percentile of their times, for the BIOS resource and the attribute registry, plain, compressed, and not
modified; with a session and with Basic authentication, which nginx does without. And with Python's web server,
with which mock-ups of Redfish services are often served, for the plain form. All use TLS 1.3, the same key,
connections that stay open, and one processor. They run in turn; the ratios are those within each round.
"""

import argparse
import gzip
import os
import re
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import time

SOURCE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(SOURCE, "tests", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import (BIOS, REGISTRY, ROOT, Broken, RedfishServer, client_environment, require)

NGINX = "/usr/sbin/nginx"
START_S = 10
CONFIGURATION = """
daemon off;
worker_processes 1;
error_log {folder}/error.log;
pid {folder}/nginx.pid;
{user}
events {{ worker_connections 1024; }}
http {{
  access_log off;
  client_body_temp_path {folder}/body;
  proxy_temp_path {folder}/proxy;
  fastcgi_temp_path {folder}/fastcgi;
  uwsgi_temp_path {folder}/uwsgi;
  scgi_temp_path {folder}/scgi;
  default_type application/json;
  keepalive_requests 1000000000;
  open_file_cache max=16;
  sendfile on;
  gzip_static on;
  ssl_certificate {certificate};
  ssl_certificate_key {certificate};
  ssl_protocols TLSv1.3;
  server {{
    listen 127.0.0.1:{port} ssl;
    root {folder}/files;
  }}
}}
"""


def free_port():
    with socket.socket() as tried:
        tried.bind(("127.0.0.1", 0))
        return tried.getsockname()[1]


def pin(process, processor):
    """Keeps all threads of a process on one processor, where there are several: the client gets another."""
    if (os.cpu_count() or 1) > 1:
        for thread in os.listdir(f"/proc/{process}/task"):
            os.sched_setaffinity(int(thread), {processor})


class Nginx:
    """nginx as a process, with files by name."""

    def __init__(self, folder, certificate, files):
        os.mkdir(os.path.join(folder, "files"))
        for name, content in files.items():
            for path, text in ((name, content), (name + ".gz", gzip.compress(content))):
                with open(os.path.join(folder, "files", path), "wb") as file:
                    file.write(text)
        self.port = free_port()
        path = os.path.join(folder, "nginx.conf")
        with open(path, "w", encoding="ascii") as file:
            user = "user root;" if os.geteuid() == 0 else ""
            file.write(CONFIGURATION.format(folder=folder, certificate=certificate, port=self.port,
                                            user=user))
        # pylint: disable=consider-using-with # it runs until `stop`
        self.process = subprocess.Popen([NGINX, "-p", folder, "-c", path, "-e", f"{folder}/error.log"],
                                        env=client_environment(), preexec_fn=self._pin)

    @staticmethod
    def _pin():
        pin(os.getpid(), 0)

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=START_S)


PYTHON_SERVER = """
import functools, http.server, ssl, sys

class Handler(http.server.SimpleHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True

    def log_message(self, *_):
        pass

server = http.server.ThreadingHTTPServer(
    ("127.0.0.1", 0), functools.partial(Handler, directory=sys.argv[1]))
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(sys.argv[2])
server.socket = context.wrap_socket(server.socket, server_side=True)
print(server.server_port, flush=True)
server.serve_forever()
"""


class PythonServer:
    """Python's own web server as a process, with the files of a folder."""

    def __init__(self, folder, certificate):
        # pylint: disable=consider-using-with # it runs until `stop`
        self.process = subprocess.Popen(
            [sys.executable, "-c", PYTHON_SERVER, folder, certificate], env=client_environment(),
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
            preexec_fn=lambda: pin(os.getpid(), 0))
        line = self.process.stdout.readline()
        require(line, "Python's web server did not start")
        self.port = int(line)

    def stop(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()


class Target:
    """What one kind of request goes to."""

    def __init__(self, port, path, headers):
        self.port, self.path, self.headers = port, path, headers
        self.rates, self.percentiles = [], []

    def _curl(self, certificate):
        options = [word for header in self.headers for word in ("--header", header)]
        run = subprocess.run(
            ["curl", "--silent", "--show-error", "--cacert", certificate, "--include", *options,
             f"https://127.0.0.1:{self.port}{self.path}"],
            env=client_environment(), check=False, capture_output=True)
        require(run.returncode == 0, f"curl {self.path}: {run.stderr}")
        head, _, body = run.stdout.partition(b"\r\n\r\n")
        return head.decode("latin-1"), body

    def fetch(self, certificate):
        """Status, entity tag and body, which is expanded."""
        head, body = self._curl(certificate)
        tag = re.search(r"^etag: (.*)$", head.replace("\r", ""), re.MULTILINE | re.IGNORECASE)
        is_compressed = "content-encoding: gzip" in head.lower()
        return (int(head.split()[1]), tag[1] if tag else "",
                gzip.decompress(body) if is_compressed else body)

    def measure(self, seconds, connections):
        options = [word for header in self.headers for word in ("-H", header)]

        def prepare():
            pin(os.getpid(), (os.cpu_count() or 1) - 1)

        run = subprocess.run(
            ["wrk", "-t1", f"-c{connections}", f"-d{seconds}s", "--latency", *options,
             f"https://127.0.0.1:{self.port}{self.path}"],
            env=client_environment(), text=True, check=False, capture_output=True, preexec_fn=prepare)
        rate = re.search(r"^Requests/sec:\s+([\d.]+)", run.stdout, re.MULTILINE)
        percentile = re.search(r"^\s+99%\s+([\d.]+)(us|ms|s)$", run.stdout, re.MULTILINE)
        require(rate and percentile and "Non-2xx" not in run.stdout and
                "Socket errors" not in run.stdout, f"wrk {self.path}: {run.stdout}{run.stderr}")
        self.rates.append(float(rate[1]))
        self.percentiles.append(float(percentile[1]) * {"us": 0.001, "ms": 1, "s": 1000}[percentile[2]])


def log_in(server):
    answer = server.ask("POST", ROOT + "SessionService/Sessions",
                        {"UserName": server.user, "Password": server.password})
    require(answer.status == 201, f"no session: {answer}")
    return answer.headers["X-Auth-Token"]


def registry_path(server):
    identifier = server.get(BIOS)["AttributeRegistry"]
    return server.get(f"{ROOT}Registries/{identifier}")["Location"][0]["Uri"]


class Comparison:
    """One resource in one form."""

    def __init__(self, what, form, targets, certificate):
        self.what, self.form, self.targets = what, form, targets
        expected = None
        for name, target in targets.items():
            if form == "not modified":
                target.headers.append("If-None-Match: " + target.fetch(certificate)[1])
            if form == "compressed":
                target.headers.append("Accept-Encoding: gzip")
            status, _, body = target.fetch(certificate)
            require(status == (304 if form == "not modified" else 200), f"{name}: {status}")
            require(expected in (None, body), f"{name}: other bytes than nginx")
            expected = body

    def measure(self, options, is_reversed):
        targets = list(self.targets.values())
        for target in reversed(targets) if is_reversed else targets:
            target.measure(options.seconds, options.connections)

    def lines(self):
        reference = self.targets["nginx"]
        for name, target in self.targets.items():
            ratios = [own / other for own, other in zip(target.rates, reference.rates)]
            ratio = "" if target is reference else f"{statistics.median(ratios):.2f}"
            yield (f"| {self.what} | {self.form} | {name} | {statistics.median(target.rates):,.0f} | "
                   f"{ratio} | {statistics.median(target.percentiles):.2f} ms |")


def compare(server, nginx, python, files, paths):
    session = ["X-Auth-Token: " + log_in(server)]
    basic = [f"{name}: {value}" for name, value in server.basic().items()]
    for what, path in paths.items():
        for form in ("plain", "compressed", "not modified"):
            name = "/" + next(name for name in files if name.startswith(what.split()[0]))
            targets = {"nginx": Target(nginx.port, name, []),
                       "dp_redfishd, session": Target(server.port, path, list(session)),
                       "dp_redfishd, Basic": Target(server.port, path, list(basic))}
            if form == "plain":
                targets["Python's http.server"] = Target(python.port, name, [])
            yield Comparison(f"{what}, {len(files[name[1:]]):,} bytes", form, targets,
                             server.certificate)


def run(options):
    server = RedfishServer(options.build, registry_file=options.registry)
    nginx = python = None
    folder = tempfile.mkdtemp(prefix="dp-redfish-bench.")
    try:
        server.start()
        server.start_redfish()
        pin(server.redfish.pid, 0)
        paths = {"Bios": BIOS, "registry": registry_path(server)}
        files = {what + ".json": server.ask("GET", path).body for what, path in paths.items()}
        nginx = Nginx(folder, server.certificate, files)
        python = PythonServer(os.path.join(folder, "files"), server.certificate)
        time.sleep(1)
        require(nginx.process.poll() is None, "nginx did not start")
        comparisons = list(compare(server, nginx, python, files, paths))
        for number in range(options.rounds):
            for comparison in comparisons:
                comparison.measure(options, number % 2 == 1)
        print(f"{options.connections} connections, medians of {options.rounds} rounds of "
              f"{options.seconds} s each\n")
        print("| Resource | Form | Server | Requests a second | Of nginx's | 99th percentile |")
        print("| --- | --- | --- | ---: | ---: | ---: |")
        for comparison in comparisons:
            print("\n".join(comparison.lines()))
    finally:
        for peer in (nginx, python):
            if peer is not None:
                peer.stop()
        server.close()
        shutil.rmtree(folder, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[1])
    parser.add_argument("build")
    parser.add_argument("--registry", default=REGISTRY)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--seconds", type=int, default=2)
    parser.add_argument("--connections", type=int, default=16)
    try:
        run(parser.parse_args())
    except Broken as problem:
        print(f"redfish_bench: {problem}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
