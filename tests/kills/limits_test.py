#!/usr/bin/env python3
"""usage: limits_test.py BUILD_DIR

Runs service and clients with too little of something: space and inodes for their files, folders that
can be written, file size, descriptors, memory. A change is stored as a whole or reported as failed,
the old values stay readable, and everything works when there is enough again. What needs a file
system of its own is skipped for users who may not mount one.
"""

import os
import resource
import subprocess
import sys
import time

FOLDER = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(FOLDER), "faults"))
# pylint: disable=wrong-import-position # the folder must be known first
from scratch_server import Broken, ScratchServer, require

PAGE = 4096
PATIENCE = 75.0


class Limits:
    def __init__(self, build):
        self.server = ScratchServer(build)
        self._number = 0
        self.cases = 0
        self.refused = 0
        self.problems = []

    def try_change(self, what, restart_after=False):
        """A change under the limit that is in force: true when it was stored."""
        self.cases += 1
        self._number += 1
        before = self.server.values()
        values = {"Boot.BootDelay": str(self._number), "System.AssetTag": f"l{self._number}"}
        run = self.server.run("dpctl", "set", *(f"{n}={v}" for n, v in values.items()),
                              bound=PATIENCE)
        require(run.code in (0, 1), f"{what}: {run}")
        require(self.server.service.poll() is None, f"{what}: the service ended: "
                                                    f"{self.server.log()[-500:]}")
        found = self.server.values()
        if run.code == 0:
            require(found == {**before, **values}, f"{what}: acknowledged, but {found}")
        else:
            require(run.err.strip(), f"{what}: fails without a message")
            require(found in (before, {**before, **values}), f"{what}: a part was stored: {found}")
            self.refused += 1
        reading = self.server.run("dpctl", "get", "Boot.BootDelay")
        require(reading.out == f"Boot.BootDelay={found['Boot.BootDelay']}\n" or
                (reading.code == 1 and reading.err.strip()), f"{what}: get: {reading}")
        return run.code == 0

    def must_work(self, what):
        require(self.try_change(f"after {what}"), f"after {what} a change fails: "
                                                  f"{self.server.log()[-500:]}")

    def attempt(self, name, check):
        problems = len(self.problems)
        try:
            check()
        except Broken as problem:
            self.problems.append(f"{name}: {problem}")
            print(f"BROKEN {name}: {problem}", flush=True)
        self.server.kill()
        self.server.restore()
        print(f"{name}: {'done' if problems == len(self.problems) else 'failed'}", flush=True)

    # File systems

    def _mounted(self, below_root, options, check):
        path = self.server.path(below_root)
        kept = {}
        for name in os.listdir(path):
            full = os.path.join(path, name)
            if os.path.isfile(full):
                with open(full, "rb") as file:
                    kept[name] = file.read()
        mount = subprocess.run(["mount", "-t", "tmpfs", "-o", options, "dp-limits", path],
                               stderr=subprocess.PIPE, check=False)
        if mount.returncode != 0:
            print(f"skipped: no file system can be mounted on {below_root}", flush=True)
            return
        try:
            os.chmod(path, 0o700)
            for name, content in kept.items():
                with open(os.path.join(path, name), "wb") as file:
                    file.write(content)
            self.server.start()
            check(path)
        finally:
            self.server.kill()
            subprocess.run(["umount", "-l", path], check=False)

    def full(self, below_root):
        def check(path):
            filler = os.path.join(path, "filler")
            for free in range(0, 12):
                with open(filler, "wb") as file:
                    try:
                        while True:
                            os.write(file.fileno(), bytes(PAGE))
                    except OSError:
                        size = os.fstat(file.fileno()).st_size
                    os.ftruncate(file.fileno(), max(0, (size // PAGE - free) * PAGE))
                self.try_change(f"{free} free pages in {below_root}")
                os.unlink(filler)
                self.must_work(f"a full {below_root}")
        self._mounted(below_root, f"size={256 * PAGE}", check)

    def without_inodes(self, below_root):
        def check(path):
            for free in range(0, 6):
                names = []
                try:
                    while True:
                        names.append(os.path.join(path, f"inode{len(names)}"))
                        os.close(os.open(names[-1], os.O_CREAT | os.O_WRONLY))
                except OSError:
                    names.pop()
                for name in names[:free]:
                    os.unlink(name)
                self.try_change(f"{free} free inodes in {below_root}")
                for name in names[free:]:
                    os.unlink(name)
                self.must_work(f"{below_root} without inodes")
        self._mounted(below_root, "size=8m,nr_inodes=64", check)

    def read_only(self, below_root):
        def check(path):
            # A second mount: the first one has files that the service has open for writing.
            subprocess.run(["mount", "--bind", path, path], check=True)
            subprocess.run(["mount", "-o", "remount,bind,ro", path], check=True)
            self.try_change(f"{below_root} is read-only")
            subprocess.run(["umount", path], check=True)
            self.must_work(f"a read-only {below_root}")
        self._mounted(below_root, "size=8m", check)

    # Limits of a process

    def file_size(self):
        self.server.start()
        for size in (0, 1, 100, 300, 500, 1000, 4096):
            resource.prlimit(self.server.service.pid, resource.RLIMIT_FSIZE,
                             (size, resource.RLIM_INFINITY))
            self.try_change(f"files of at most {size} bytes")
            resource.prlimit(self.server.service.pid, resource.RLIMIT_FSIZE,
                             (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
            self.must_work("a limit of file sizes")

    def descriptors(self):
        self.server.start()
        hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
        used = len(self.server.descriptors())
        for limit in range(max(3, used - 3), used + 10):
            resource.prlimit(self.server.service.pid, resource.RLIMIT_NOFILE, (limit, hard))
            self.try_change(f"{limit} descriptors, {used} of them used")
            resource.prlimit(self.server.service.pid, resource.RLIMIT_NOFILE, (hard, hard))
            self.must_work("a limit of descriptors")

    def descriptors_at_start(self):
        for limit in range(3, 16):
            self.cases += 1

            def lower(limit=limit):
                resource.setrlimit(resource.RLIMIT_NOFILE, (limit, limit))
            before = self.server.values(), self.server.current()
            self.server.launch(before=lower)
            if self.server.wait_until_ready():
                self.server.stop()
            else:
                code = self.server.wait()
                # The loader itself needs descriptors.
                require(code in (1, 127) and self.server.log().strip(),
                        f"{limit} descriptors: the start ended with {code}")
                self.refused += 1
            require((self.server.values(), self.server.current()) == before,
                    f"{limit} descriptors: the start changed values")

    def memory_of_clients(self):
        self.server.start()
        good = self.server.run("dpctl", "list", "Boot").out
        for kib in (*range(4000, 24000, 1000), 40000):
            self.cases += 1

            def lower(kib=kib):
                resource.setrlimit(resource.RLIMIT_AS, (kib * 1024, kib * 1024))
            run = self.server.run("dpctl", "list", "Boot", before=lower)
            # The loader ends the program with 127 when it cannot map the libraries.
            require(run.code in (0, 1, 127), f"{kib} KiB: {run}")
            require(run.out == good if run.code == 0 else run.err.strip(), f"{kib} KiB: {run}")
            self.refused += 1 if run.code != 0 else 0

    def memory_of_service(self):
        self.server.start()
        with open(f"/proc/{self.server.service.pid}/statm", encoding="ascii") as file:
            used = int(file.read().split()[0]) * PAGE
        # With less, the stack cannot grow, and the program is killed.
        for more in (262144, 400000, 600000, 1000000, 3000000):
            resource.prlimit(self.server.service.pid, resource.RLIMIT_AS,
                             (used + more, resource.RLIM_INFINITY))
            self.try_change(f"{more} more bytes of memory")
            resource.prlimit(self.server.service.pid, resource.RLIMIT_AS,
                             (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
            self.must_work("a limit of memory")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    # File systems that are mounted here disappear with this process.
    if os.geteuid() == 0 and "DP_LIMITS_UNSHARED" not in os.environ:
        probe = subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL,
                               check=False)
        if probe.returncode == 0:
            os.environ["DP_LIMITS_UNSHARED"] = "1"
            os.execvp("unshare", ["unshare", "--mount", sys.executable, *sys.argv])
    began = time.monotonic()
    limits = Limits(sys.argv[1])
    try:
        for folder in ("/var/dp", "/tmp/dp"):
            limits.attempt(f"full {folder}", lambda f=folder: limits.full(f))
            limits.attempt(f"no inodes in {folder}", lambda f=folder: limits.without_inodes(f))
            limits.attempt(f"read-only {folder}", lambda f=folder: limits.read_only(f))
        for name in ("file_size", "descriptors", "descriptors_at_start", "memory_of_clients",
                     "memory_of_service"):
            limits.attempt(name, getattr(limits, name))
    finally:
        limits.server.close()
    print(f"{limits.cases} cases, {limits.refused} of them refused, {len(limits.problems)} "
          f"problems, {time.monotonic() - began:.0f} s")
    return 1 if limits.problems else 0


if __name__ == "__main__":
    sys.exit(main())
