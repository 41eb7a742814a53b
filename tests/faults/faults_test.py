#!/usr/bin/env python3
"""usage: faults_test.py BUILD_DIR [--sample SECONDS] [--only OPERATION[/SIDE[/KIND]]] [--seed N]
                         [--allocations EVERY]

Lets each call of each kind fail once in the clients and in the settings service, and checks after
every fault that nothing crashed, hung or leaked, that the answer is true, that nothing acknowledged
was lost, and that the next run works. With --sample it takes that much processor time for randomly
chosen faults; otherwise it tries them all, but of the allocations only each EVERY-th (default 1).
"""

import argparse
import errno
import os
import random
import re
import signal
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
# pylint: disable=wrong-import-position # the folder must be known first
from fault_control import ERRORS, FAIL, FAIL_FROM, KINDS, SHORTEN, FaultControl
from scratch_server import BOUND, Broken, ScratchServer, require

# How the client says that a value was not stored.
NOT_STORED = re.compile(r"[Nn]othing was changed|could not be written to the disk|was not sent")

# In the service, waiting for requests is all that it can do; it reports that it cannot and ends.
ENDS_THE_SERVICE = {"poll", "inotify", "alloc"}


class Unread(Broken):
    """A file was shown as empty. The C API is specified to take a file that it cannot open or read
    for an empty one; dpctl notices it before the C API reads, but not while it does."""


class Case:
    """One fault: `at` is the number of the call among those of the kind."""

    def __init__(self, operation, side, kind, at, action, error):
        self.operation, self.side, self.kind, self.at = operation, side, kind, at
        self.action, self.error = action, error

    def __str__(self):
        what = {FAIL: "fails", FAIL_FROM: "and all later ones fail", SHORTEN: "is short"}
        reason = errno.errorcode[self.error] if self.error else ""
        return (f"{self.operation}/{self.side}/{self.kind}: call {self.at} "
                f"{what[self.action]} {reason}").rstrip()


def says_something(run, control):
    """Whether a failure has a message. There is none when the message itself could not be written."""
    call, descriptor = control.last()
    return run.err.strip() != "" or (call in ("write", "writev") and descriptor == 2)


def check_end(run, control):
    require(run.code is not None, f"hangs: no end within {run.seconds:.0f} s; err {run.err!r}")
    require(run.code >= 0, f"was ended by signal {-run.code}: {run.err!r}")
    require("Sanitizer" not in run.err, f"a sanitizer's report: {run.err}")
    require(run.code in (0, 1), f"unexpected {run}")
    if run.code != 0:
        require(says_something(run, control), f"fails without a message: {run}")


class Operations:
    """What is done while a fault is active. Each prepares the server, runs the client, and checks
    its answer against the files."""

    def __init__(self, server):
        self._server = server
        self._round = 0

    def fresh(self):
        self._round += 1
        return {"Boot.BootDelay": str(1000 + self._round), "System.AssetTag": f"t{self._round}"}

    def set(self, values, **options):
        return self._server.run("dpctl", "set", *(f"{n}={v}" for n, v in values.items()), **options)

    def prepare_change(self):
        """Stores fresh values without faults."""
        values = self.fresh()
        run = self.set(values)
        require(run.code == 0, f"set without faults: {run}; service: {self._server.log()[-400:]}")
        found = self._server.values()
        require({n: found.get(n) for n in values} == values, f"not stored: {values}, but {found}")

    def check_next(self, operation="set"):
        """What works without faults: a change, and reading it back."""
        if operation not in ("list", "get"):
            self.prepare_change()
        run = self._server.run("dpctl", "get", "Boot.BootDelay")
        expected = f"Boot.BootDelay={self._server.values()['Boot.BootDelay']}\n"
        require(run.code == 0 and run.out == expected, f"get without faults: {run}")

    # Each returns a function that makes the request and one that checks the outcome.

    def reading(self, *arguments):
        expected = self._server.run("dpctl", *arguments)
        require(expected.code == 0, f"without faults: {expected}")

        def check(run):
            if run.code == 0 and not run.err:
                if run.out != expected.out:
                    raise Unread(f"a wrong answer without a message: {run}")
        return (lambda **options: self._server.run("dpctl", *arguments, **options)), check

    def op_list(self):
        return self.reading("list", "Boot")

    def op_get(self):
        return self.reading("get", "Boot.BootDelay", "System.AssetTag")

    def op_set(self):
        before = self._server.values()
        values = self.fresh()

        def check(run):
            found = self._server.values()
            after = {name: found.get(name) for name in values}
            old = {name: before.get(name) for name in values}
            require(found == {**before, **values} or found == before,
                    f"a part of the change was stored: {old} to {values}: {after}; {run}")
            if run.code == 0:
                require(after == values, f"reported as stored, but {after}; {run}")
                history = self._server.history()
                complete = all(history.count(pair) == 1 for pair in values.items())
                require(complete or "history" in self._server.log(),
                        f"the history lacks {values}, and the log has no reason; {run}")
            elif NOT_STORED.search(run.err + run.out):
                require(after == old, f"reported as not stored, but {after}; {run}")
        return (lambda **options: self.set(values, **options)), check

    def op_reset(self):
        self.prepare_change()
        before = self._server.values()

        def check(run):
            found = self._server.values()
            if run.code == 0:
                require(found.get("Boot.BootDelay") == "5", f"reported as reset, but {found}; {run}")
            elif NOT_STORED.search(run.err + run.out):
                require(found == before, f"reported as not stored, but {found}; {run}")
            require(found in (before, {**before, "Boot.BootDelay": "5"}), f"mixed: {found}; {run}")
        return (lambda **options: self._server.run("dpctl", "reset", "Boot", **options)), check

    def op_restart(self):
        self.prepare_change()
        before, pending = self._server.current(), self._server.values()

        def check(run):
            require(self._server.values() == pending, f"the pending values changed; {run}")
            current = self._server.current()
            require(current in (before, pending), f"mixed current values {current}; {run}")
            if run.code == 0:
                require(current == pending, f"reported as restarted, but {current}; {run}")
        return (lambda **options: self._server.run("dp-server", "restart", **options)), check

    def op_update(self):
        self.prepare_change()
        self._round += 1
        before = self._server.values()
        # Each update is one from the other template.
        old = before["System.BiosVersion"]
        new = "1" if old == "2" else "2"
        bios = self._server.update_template if new == "2" else self._server.template
        build_id = f"B{self._round}"

        def request(**options):
            return self._server.run("dp-server", "update", "--template", bios, "--build-id",
                                    build_id, **options)

        def check(run):
            updated = {**before, "System.BiosVersion": new}
            found, current = self._server.values(), self._server.current()
            require(found in (before, updated), f"mixed pending values {found}; {run}")
            require(all(current[name] in (before[name], updated[name], current[name])
                        for name in before), f"mixed current values {current}; {run}")
            if run.code == 0:
                require(found == updated, f"reported as updated, but {found}; {run}")
                require(build_id in self._server.read("/var/dp/vpd.txt"), f"the build id; {run}")
        return request, check


class Faults:
    """Runs cases, and restores the server after those that failed."""

    def __init__(self, build):
        self.server = ScratchServer(build)
        folder = self.server.folder()
        self._controls = {name: FaultControl(os.path.join(folder, name + ".faults"), name)
                          for name in ("dpctl", "dp-server", "dp_settingsd")}
        self.operations = Operations(self.server)
        self.cases = 0
        self.unfired = 0
        self.ended = 0
        self.unread = 0
        self.problems = []
        self._start()

    def _start(self):
        self._controls["dp_settingsd"].disarm()
        self.server.start(self._controls["dp_settingsd"])
        self.operations.check_next()
        self._descriptors = self.server.descriptors()

    def _start_again(self):
        for control in self._controls.values():
            control.disarm()
        self.server.kill()
        self.server.restore()
        self._start()

    def close(self):
        self.server.close()

    def _control(self, operation, side):
        if side == "service":
            return self._controls["dp_settingsd"]
        return self._controls["dp-server" if operation in ("restart", "update") else "dpctl"]

    def _settle(self, control):
        """Waits until the service has ended what the client does not wait for."""
        last = None
        while last != (last := control.counts()):
            time.sleep(0.005)

    def _request(self, operation, side, arm):
        """Runs the operation with a control that `arm` has set."""
        request, check = getattr(self.operations, "op_" + operation)()
        control = self._control(operation, side)
        arm(control)
        run = request(control=control) if side == "client" else request()
        if side == "service":
            self._settle(control)
        control.pause()
        return run, check, control

    def count(self, operation, side):
        """The calls of each kind when nothing fails."""
        if operation == "start":
            self.server.stop()
            control = self._controls["dp_settingsd"]
            control.arm([])
            self.server.start(control)
            self._settle(control)
            control.pause()
            return control.counts()
        run, check, control = self._request(operation, side, lambda c: c.arm([]))
        require(run.code == 0, f"{operation} without faults: {run}")
        check(run)
        return control.counts()

    def run(self, case):
        self.cases += 1
        try:
            if case.operation == "start":
                self._run_start(case)
            else:
                self._run_request(case)
        except Broken as problem:
            # A file is not opened either when memory for its stream is exhausted.
            if isinstance(problem, Unread) and case.kind in ("open", "read", "alloc"):
                self.unread += 1
                return
            self.problems.append(f"{case}: {problem}")
            print(f"BROKEN {case}: {problem}", flush=True)
            self._start_again()

    def _arm(self, case):
        return lambda control: control.arm([case.kind], case.at, case.action, case.error)

    def _run_request(self, case):
        run, check, control = self._request(case.operation, case.side, self._arm(case))
        self.unfired += 0 if control.fired() else 1
        check_end(run, control)
        # A process that is ending has no descriptors any more, but can still be waited for.
        deadline = time.monotonic() + 2
        while not self.server.descriptors() and time.monotonic() < deadline:
            if self.server.service.poll() is not None:
                self._check_service_end(case)
                break
        check(run)
        if self.server.service is None:
            self._start()
        else:
            found = self.server.settled_descriptors(self._descriptors)
            if not found:
                self._check_service_end(case)
                self._start()
                return
            require(found == self._descriptors,
                    f"the service has other descriptors: {self._descriptors} to {found}")
        try:
            self.operations.check_next(case.operation)
        except Broken:
            if case.operation != "update":
                raise
            # The service was still completing the update, which replaces what the client reads.
            time.sleep(0.5)
            self.operations.check_next(case.operation)
        if case.operation == "update":
            self._check_restart()

    def _check_restart(self):
        """An update that was not made must not be completed by a later start."""
        self.operations.prepare_change()
        values = self.server.values()
        self.server.stop()
        self._controls["dp_settingsd"].disarm()
        self.server.start(self._controls["dp_settingsd"])
        found = self.server.values()
        require(found == values, f"the next start changed values: {values} to {found}")
        self.operations.check_next()
        self._descriptors = self.server.descriptors()

    def _check_service_end(self, case):
        code, log = self.server.wait(), self.server.log()
        require(code == 1 and log.strip(), f"the service ended with {code}: {log[-800:]}")
        require(case.kind in ENDS_THE_SERVICE, f"the service ended: {log[-800:]}")
        self.ended += 1

    def _run_start(self, case):
        self.operations.prepare_change()
        values, current = self.server.values(), self.server.current()
        self.server.stop()
        control = self._controls["dp_settingsd"]
        self._arm(case)(control)
        self.server.launch(control)
        is_ready = self.server.wait_until_ready()
        if is_ready:
            self._settle(control)
        self.unfired += 0 if control.fired() else 1
        control.disarm()
        if is_ready and case.kind not in ENDS_THE_SERVICE:
            self.server.stop()
        else:
            # A service that is ready may be ending at this moment.
            if is_ready:
                self.server.service.send_signal(signal.SIGTERM)
            code, log = self.server.wait(), self.server.log()
            require(code >= 0, f"the service was ended by signal {-code}: {log[-800:]}")
            require((is_ready and code == 0) or (code == 1 and log.strip()),
                    f"the service ended with {code}: {log[-800:]}")
        require((self.server.values(), self.server.current()) == (values, current),
                f"the start changed values: {values} to {self.server.values()}, {current} to "
                f"{self.server.current()}")
        self._start()


def variants(kind):
    yield FAIL, ERRORS[kind]
    if kind in ("open", "write", "rename", "fsync"):
        yield FAIL_FROM, ERRORS[kind]
    if kind in ("read", "write"):
        yield SHORTEN, 0
    if kind in ("open", "read", "write", "flock", "fcntl", "poll"):
        yield FAIL, errno.EINTR


SIDES = [("list", "client"), ("get", "client"), ("start", "service"), ("set", "client"),
         ("set", "service"), ("reset", "client"), ("reset", "service"), ("restart", "client"),
         ("restart", "service"), ("update", "client"), ("update", "service")]


def plan(faults, only):
    """All faults, by operation, side and kind."""
    for operation, side in SIDES:
        if only and not f"{operation}/{side}/".startswith("/".join(only.split("/")[:2]) + "/"):
            continue
        counts = faults.count(operation, side)
        for kind in KINDS:
            if only and only.count("/") == 2 and only.split("/")[2] != kind:
                continue
            yield [Case(operation, side, kind, at, action, error)
                   for action, error in variants(kind) for at in range(1, counts[kind] + 1)]


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("build")
    parser.add_argument("--sample", type=float)
    parser.add_argument("--only")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--allocations", type=int, default=1)
    chosen = parser.parse_args()
    generator = random.Random(chosen.seed)
    began = time.monotonic()
    faults = Faults(chosen.build)
    try:
        groups = list(plan(faults, chosen.only))
        if chosen.sample:
            # One of each group in turn, so that rare kinds are tried as often as allocations.
            for group in groups:
                generator.shuffle(group)
            groups = [group for group in groups if group]
            generator.shuffle(groups)
            position = 0
            while groups and processor_time() < chosen.sample:
                position %= len(groups)
                faults.run(groups[position].pop())
                if groups[position]:
                    position += 1
                else:
                    groups.pop(position)
        else:
            for group in groups:
                step = chosen.allocations if group and group[0].kind == "alloc" else 1
                offset = generator.randrange(step)
                for case in group[offset::step]:
                    faults.run(case)
                if group:
                    print(f"{group[0].operation}/{group[0].side}/{group[0].kind}: "
                          f"{len(group[offset::step])} of {len(group)}", flush=True)
    finally:
        faults.close()
    print(f"{faults.cases} faults, {faults.unfired} of them in calls that were not made, "
          f"{faults.unread} that the C API takes for empty files, "
          f"{faults.ended} ended the service with a message, {len(faults.problems)} problems, "
          f"{time.monotonic() - began:.0f} s, {processor_time():.0f} s of processor time")
    return 1 if faults.problems or faults.cases == 0 else 0


def processor_time():
    times = os.times()
    return times.user + times.system + times.children_user + times.children_system


if __name__ == "__main__":
    sys.exit(main())
