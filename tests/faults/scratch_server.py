"""A simulated server in a scratch folder: its files, its settings service and its clients."""

import json
import os
import re
import select
import shutil
import signal
import subprocess
import tempfile
import time

MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None

# How long anything may take that does not have to wait for another process.
BOUND = 30.0


def registry(names=("BootMode", "BootDelay", "AssetTag"), version="1"):
    """A small registry: what is tested does not depend on the number of attributes."""
    attributes = [
        {"AttributeName": names[0], "Type": "Enumeration", "MenuPath": "./Setup/Boot",
         "Value": [{"ValueName": value} for value in ("UEFI", "Legacy", "Auto")],
         "DefaultValue": "UEFI"},
        {"AttributeName": names[1], "Type": "Integer", "MenuPath": "./Setup/Boot",
         "LowerBound": 0, "UpperBound": 1000000, "ScalarIncrement": 1, "DefaultValue": 5},
        {"AttributeName": names[2], "Type": "String", "MenuPath": "./Setup/System",
         "MinLength": 0, "MaxLength": 60, "DefaultValue": "none"},
        {"AttributeName": "BiosVersion", "Type": "String", "MenuPath": "./Setup/System",
         "MinLength": 0, "MaxLength": 60, "DefaultValue": version, "ReadOnly": True},
    ]
    return json.dumps({"RegistryEntries": {"Attributes": attributes}})


class Run:
    """How a program ended."""

    def __init__(self, code, out, err, seconds):
        self.code, self.out, self.err, self.seconds = code, out, err, seconds

    def __str__(self):
        return f"exit {self.code} after {self.seconds:.2f} s, out {self.out!r}, err {self.err!r}"


class Broken(Exception):
    """A promise was not kept."""


def require(condition, what):
    if not condition:
        raise Broken(what)


_LINE = re.compile(r'^\d+ \S+ \S+ set (\S+) "((?:[^"\\]|\\.)*)" ""\s*$')


class ScratchServer:
    """`build` is a build folder with programs and libraries; `registry_file` the registry of the
    server, which is installed with it; without it, the server has a small template alone."""

    def __init__(self, build, root=None, registry_file=None):
        self._build = os.path.abspath(build)
        self._base = tempfile.mkdtemp(prefix="dp-proof-", dir=root or MEMORY)
        self.root = os.path.join(self._base, "root")
        self.pristine = os.path.join(self._base, "pristine")
        self.interposer = os.path.join(self._build, "lib", "libdp_fault_interposer.so")
        self.service = None
        self._log = os.path.join(self._base, "service.log")
        self.environment = {
            **os.environ, "DP_ROOT": self.root, "DP_QUEUE_PREFIX": os.path.basename(self._base),
            "LD_LIBRARY_PATH": f"{self._build}/lib/relocatable:{self._build}/lib"}
        for name in ("DP_LOG", "DP_LOG_MASK", "DP_LOG_TAG"):
            self.environment.pop(name, None)
        os.makedirs(os.path.join(self.root, "bin"))
        os.makedirs(os.path.join(self.root, "tmp"))
        for tool in ("dpspy", "sysvpd"):
            os.symlink(self.program(tool), os.path.join(self.root, "bin", tool))
        if registry_file is None:
            self.template = self._compile("registry", registry())
            self.update_template = self._compile("update", registry(version="2"))
            self.check(self.run("dp-server", "install", "--template", self.template, "--settings",
                                self.template + ".values", "--build-id", "B1"))
        else:
            self.check(self.run("dp-server", "install", "--registry", registry_file))
        # The first start completes the files.
        self.start()
        self.stop()
        shutil.copytree(self.root, self.pristine, symlinks=True)

    def _compile(self, name, text):
        source = os.path.join(self._base, name + ".json")
        with open(source, "w", encoding="ascii") as file:
            file.write(text)
        output = os.path.join(self._base, name + ".efi")
        self.check(self.run("dp-template", source, "-o", output, "--settings", output + ".values"))
        return output

    def program(self, name):
        return os.path.join(self._build, "bin", name)

    def path(self, below_root):
        return self.root + below_root

    def folder(self):
        """A place for the test's own files, outside of the server."""
        return self._base

    @staticmethod
    def check(run):
        require(run.code == 0, f"a preparation failed: {run}")
        return run

    def close(self):
        self.kill()
        shutil.rmtree(self._base, ignore_errors=True)

    def restore(self):
        """The files are again as after the installation. No service may run."""
        for entry in os.listdir(self.root):
            path = os.path.join(self.root, entry)
            if os.path.islink(path) or not os.path.isdir(path):
                os.unlink(path)
            else:
                shutil.rmtree(path)
        shutil.copytree(self.pristine, self.root, symlinks=True, dirs_exist_ok=True)

    # Programs

    def run(self, program, *arguments, control=None, bound=BOUND, before=None):
        """Runs a program to its end; a program that exceeds the bound is killed and has the code
        None. A negative code is the number of the signal that ended it."""
        environment = dict(self.environment)
        if control is not None:
            environment.update(control.environment(self.interposer))
        began = time.monotonic()
        with subprocess.Popen([self.program(program), *arguments], env=environment, cwd=self._base,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, preexec_fn=before) as process:
            try:
                out, err = process.communicate(timeout=bound)
                code = process.returncode
            except subprocess.TimeoutExpired:
                process.kill()
                out, err = process.communicate()
                code = None
        return Run(code, out.decode("utf-8", "replace"), err.decode("utf-8", "replace"),
                   time.monotonic() - began)

    def launch(self, control=None, before=None):
        environment = dict(self.environment)
        if control is not None:
            environment.update(control.environment(self.interposer))
        with open(self._log, "wb") as log:
            # pylint: disable=consider-using-with # it runs until `stop` or `kill`
            self.service = subprocess.Popen(
                [self.program("dp_settingsd")], env=environment, cwd=self._base,
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log, preexec_fn=before)

    def wait_until_ready(self, bound=BOUND):
        """Whether the service became ready; False when it ended instead."""
        deadline = time.monotonic() + bound
        text = b""
        while b"dp_settingsd: ready\n" not in text:
            left = deadline - time.monotonic()
            require(left > 0, f"the service is neither ready nor ended within {bound} s")
            if select.select([self.service.stdout], [], [], left)[0]:
                part = os.read(self.service.stdout.fileno(), 4096)
                if not part:
                    return False
                text += part
        return True

    def start(self, control=None, before=None):
        self.launch(control, before)
        require(self.wait_until_ready(), f"the service did not start: {self.log()}")

    def wait(self, bound=BOUND):
        """The service's exit code."""
        try:
            code = self.service.wait(timeout=bound)
        except subprocess.TimeoutExpired:
            self.kill()
            raise Broken(f"the service did not end within {bound} s: {self.log()}") from None
        self.service.stdout.close()
        self.service = None
        return code

    def stop(self):
        self.service.send_signal(signal.SIGTERM)
        code = self.wait()
        require(code == 0, f"the service ended with {code}: {self.log()}")

    def kill(self):
        if self.service is not None:
            self.service.kill()
            self.service.wait()
            self.service.stdout.close()
            self.service = None

    def log(self):
        with open(self._log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def descriptors(self):
        """What the service has open, without what differs from moment to moment."""
        folder = f"/proc/{self.service.pid}/fd"
        found = []
        try:
            names = os.listdir(folder)
        except OSError:
            names = []
        for name in names:
            try:
                target = os.readlink(os.path.join(folder, name))
            except OSError:
                continue
            found.append(re.sub(r"\[\d+\]", "[]", target).replace(" (deleted)", ""))
        return sorted(found)

    def settled_descriptors(self, expected, bound=2.0):
        """The descriptors, when they are the expected ones or the time is up."""
        deadline = time.monotonic() + bound
        while True:
            found = self.descriptors()
            if found == expected or time.monotonic() > deadline:
                return found
            time.sleep(0.005)

    # Files

    def read(self, below_root):
        with open(self.path(below_root), encoding="utf-8") as file:
            return file.read()

    def values(self, below_root="/var/dp/uefi_settings.txt"):
        """The values of a settings file, each line of which must be complete."""
        text = self.read(below_root)
        require(text.endswith("\n"), f"{below_root} is cut: {text[-80:]!r}")
        values = {}
        for line in text.splitlines():
            if line.startswith("#"):
                continue
            match = _LINE.match(line)
            require(match is not None, f"{below_root} has the line {line!r}")
            require(match[1] not in values, f"{below_root} has {match[1]} twice")
            values[match[1]] = match[2]
        return values

    def current(self):
        return self.values("/var/dp/uefi_current.txt")

    def history(self):
        """Name and value of each change, oldest first."""
        if not os.path.exists(self.path("/var/dp/history")):
            return []
        changes = []
        text = self.read("/var/dp/history")
        require(text.endswith("\n") or not text, f"the history is cut: {text[-80:]!r}")
        for line in text.splitlines():
            match = re.match(r'^<\S*> [-0-9T:+]{25}   (\S+)(?:   "(.*?)")?', line)
            if match:
                changes.append((match[1], match[2]))
        return changes
