#!/usr/bin/env python3
"""usage: mutate.py SOURCE_DIR WORK_DIR [NUMBER] [--seed N] [--only PATH] [--jobs N] [--list]

Changes the library or the POSIX platform in one place at a time, and reports which of the changes
the unit tests notice. NUMBER (default 200) of all possible changes are drawn with --seed (default
1). A change that does not compile, or that the compiler warns about, is replaced by another one. The
unit tests of the changed folder run first; only when they notice nothing, the other unit tests run,
of them those whose program the change alters.

A change is equivalent when the compiler makes the same object file of it, or when equivalent.txt,
beside this program, lists it with the reason why it changes no behaviour.

Exits with 1 when fewer than 95 % of the others are noticed. WORK_DIR keeps a copy of the sources,
its build, and the changes that were noticed, which are not tried again while their source is the
same. So a run that was interrupted continues, and a run after a new test is short.
"""

import argparse
import hashlib
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time

LIBRARY = ["common", "settings", "transactions", "batch", "logs", "exec", "bios"]
PLATFORM = "platform/posix"
# The programs of a folder's own tests. The others follow, the quick ones first.
OWN_TESTS = {**{folder: [f"{folder}_tests"] for folder in LIBRARY}, PLATFORM: ["platform_tests"]}
ALL_TESTS = ["common_tests", "exec_tests", "transactions_tests", "settings_tests", "logs_tests",
             "batch_tests", "bios_tests", "platform_tests"]
# What a program loads when it starts.
LOADED = {"platform_tests": ["lib/libdp_platform.so"]}
REQUIRED = 95.0
NOT_COMPILED = "not compiled"
SAME_CODE = "same code"
# A change may allocate without an end.
MEMORY_LIMIT = 8 << 30

REPLACEMENTS = [
    (r"(?<![<>=!+\-*/&|^%])<=(?!>)", ["<", "=="]), (r"(?<![<>=!\-])>=", [">", "=="]),
    (r" < ", [" <= "]), (r" > ", [" >= "]),
    (r"==", ["!="]), (r"!=", ["=="]),
    (r"&&", ["||"]), (r" \|\| ", [" && "]),
    (r" \+ ", [" - "]), (r" - ", [" + "]), (r" \* ", [" + "]), (r" / ", [" * "]),
    (r" % ", [" / "]), (r" << ", [" >> "]), (r" >> ", [" << "]), (r" & ", [" | "]),
    (r" \| ", [" & "]), (r"\+\+", ["--"]), (r"--", ["++"]),
    (r"\+= ", ["-= "]), (r"-= ", ["+= "]), (r"\|= ", ["&= "]),
    (r"\btrue\b", ["false"]), (r"\bfalse\b", ["true"]),
    (r"\bcontinue;", ["break;"]), (r"\bbreak;", [";"]),
    (r"\bif \(!", ["if ("]), (r"\bwhile \(!", ["while ("]),
    (r"\bstd::min\b", ["std::max"]), (r"\bstd::max\b", ["std::min"]),
]
# A whole statement on a line of its own that is not a declaration or a return.
STATEMENT = re.compile(r"^\s+(?!return|break|continue|using|throw|case|default|static|const|auto|"
                       r"delete|goto|else|public|private)"
                       r"(?:[\w:>.\[\]\-*()&]+(?: [+\-|&]?= .*| [+\-|&^]?=.*)|[\w:>.\-]+\(.*\)"
                       r"|\+\+[\w.]+|--[\w.]+);\s*$")
NUMBER = re.compile(r"(?<![\w.'\"])(0[xX][0-9A-Fa-f]+|\d+)(?=[uU]?\b)(?![\w.']*\")")


class Mutant:
    def __init__(self, path, line, before, after):
        self.path, self.line, self.before, self.after = path, line, before, after

    def __str__(self):
        return f"{self.path}:{self.line + 1}: {self.before.strip()}  ->  {self.after.strip()}"

    def key(self):
        return (self.path, self.before.strip(), self.after.strip())


def without_texts(line):
    """The line with blanks in the place of comments, texts and characters."""
    blank = lambda match: " " * len(match[0])
    line = re.sub(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)\'', blank, line)
    return re.sub(r"//.*", blank, line)


def mutants_of(root, path):
    with open(os.path.join(root, path), encoding="utf-8") as file:
        lines = file.read().split("\n")
    for number, line in enumerate(lines):
        code = without_texts(line)
        stripped = code.strip()
        if not stripped or stripped.startswith("#") or re.match(
                r"\s*(template|static_assert|namespace|using|friend|extern|\[\[)", code):
            continue
        is_constant = re.match(r"\s*(inline |static )*constexpr", code)
        if re.match(r"^\S.*\)( const)?( noexcept)? \{$", code) or code.rstrip().endswith(") {") \
                and not re.search(r"\b(if|while|for|switch)\b", code):
            continue  # the head of a function
        for pattern, replacements in REPLACEMENTS:
            if is_constant:
                break
            for match in re.finditer(pattern, code):
                for text in replacements:
                    yield Mutant(path, number, line, line[:match.start()] + text +
                                 line[match.end():])
        for match in NUMBER.finditer(code):
            is_octal = len(match[0]) > 1 and match[0].isdigit() and match[0][0] == "0"
            value = int(match[0], 8 if is_octal else 0)
            yield Mutant(path, number, line, line[:match.start()] + str(value + 1) +
                         line[match.end():])
        match = re.search(r"\bif \((.*)\) \{$", code)
        if match and code.count("(") == code.count(")") and ";" not in code:
            inner = line[match.start(1):match.end(1)]
            yield Mutant(path, number, line, line[:match.start(1)] + "!(" + inner + ")" +
                         line[match.end(1):])
        if STATEMENT.match(code) and code.count("(") == code.count(")"):
            indent = line[:len(line) - len(line.lstrip())]
            yield Mutant(path, number, line, indent + ";")


def sources(root):
    for folder in LIBRARY + [PLATFORM]:
        for name in sorted(os.listdir(os.path.join(root, folder))):
            if name.endswith(".cpp"):
                yield f"{folder}/{name}"


def read_equivalents():
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "equivalent.txt")
    found = {}
    entry = []
    with open(path, encoding="utf-8") as file:
        for line in file:
            line = line.rstrip("\n")
            if line.startswith("#"):
                continue
            if line:
                entry.append(line.strip())
            if len(entry) == 4:
                found[tuple(entry[:3])] = entry[3]
                entry = []
    return found


def in_drawn_order(mutants, seed):
    """In an order that only the seed and the texts decide, so that a change of one source does not
    draw other mutants in all others."""
    seen = {}

    def position(mutant):
        seen[mutant.key()] = seen.get(mutant.key(), 0) + 1
        text = "\0".join((str(seed), *mutant.key(), str(seen[mutant.key()])))
        return hashlib.sha256(text.encode()).digest()

    return sorted(mutants, key=position)


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


def processor_seconds():
    """Of the programs that ended so far."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


class Notebook:
    """The changes that earlier runs judged for good."""

    def __init__(self, path):
        self._path = path
        self._found = {}
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                self._found = dict(line.rstrip("\n").split(" ", 1) for line in file)

    def find(self, changed):
        return self._found.get(hashlib.sha256(changed.encode()).hexdigest())

    def add(self, changed, found):
        with open(self._path, "a", encoding="utf-8") as file:
            file.write(f"{hashlib.sha256(changed.encode()).hexdigest()} {found}\n")


class Workshop:
    """A copy of the sources, and its build."""

    def __init__(self, source, work, jobs):
        self._source, self._jobs = source, jobs
        self._copy = os.path.join(work, "source")
        self._build = os.path.join(work, "build")
        self._seconds = {}
        self._unchanged = {}
        self._noted = Notebook(os.path.join(work, "outcomes"))
        os.makedirs(self._copy, exist_ok=True)
        files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others",
                                "--exclude-standard"], cwd=source, check=True,
                               stdout=subprocess.PIPE).stdout
        # Only what differs, so that nothing is compiled again needlessly.
        for name in filter(None, files.decode().split("\0")):
            self._refresh(name)
        launcher = []
        if subprocess.run(["sh", "-c", "command -v ccache"], stdout=subprocess.DEVNULL,
                          check=False).returncode == 0:
            launcher = ["-DCMAKE_C_COMPILER_LAUNCHER=ccache",
                        "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
        subprocess.run(["cmake", "-S", self._copy, "-B", self._build, "-G", "Ninja",
                        # Without debug information programs link fast, and equal objects show
                        # that a change alters nothing.
                        "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG",
                        "-DCMAKE_C_FLAGS_RELEASE=-O2 -DNDEBUG", "-DDP_BUILD_TESTS=ON",
                        "-DDP_FAST_BUILD=ON", *launcher],
                       check=True, stdout=subprocess.DEVNULL)
        os.environ.setdefault("CCACHE_BASEDIR", self._copy)

    def _refresh(self, name):
        source, copy = os.path.join(self._source, name), os.path.join(self._copy, name)
        if not os.path.isfile(source):
            return
        with open(source, "rb") as file:
            content = file.read()
        try:
            with open(copy, "rb") as file:
                if file.read() == content:
                    return
        except OSError:
            pass
        os.makedirs(os.path.dirname(copy), exist_ok=True)
        with open(copy, "wb") as file:
            file.write(content)
        os.chmod(copy, os.stat(source).st_mode)

    def compiles(self, targets):
        return subprocess.run(["ninja", "-C", self._build, "-j", str(self._jobs), *targets],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              check=False).returncode == 0

    def passes(self, program):
        began, used_before = time.monotonic(), processor_seconds()
        # Of waiting and of working: a busy machine must not end a program that only works.
        seconds, work = self._seconds.get(program, (60, 60))
        limit, work_limit = 10 * seconds + 20, int(4 * work) + 5
        # Short, because sockets below it have a limited path.
        scratch = tempfile.mkdtemp(prefix="dp-mutate-")
        os.chmod(scratch, 0o755)  # Tests act as other users too.
        run = subprocess.Popen(
            ["prlimit", f"--as={MEMORY_LIMIT}", f"--cpu={work_limit}", os.path.join(self._build, "bin", program),
             "--gtest_brief=1", "--gtest_fail_fast"], env={**os.environ, "TMPDIR": scratch},
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL,
            start_new_session=True)
        try:
            code = run.wait(limit)
        except subprocess.TimeoutExpired:
            code = None
        finally:
            # Also what the tests started and left.
            try:
                os.killpg(run.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            run.wait()
            shutil.rmtree(scratch, ignore_errors=True)
        if code == 0:
            self._seconds.setdefault(
                program, (time.monotonic() - began, processor_seconds() - used_before))
        return code == 0

    def _parts(self, program):
        return [os.path.join(self._build, name) for name in [f"bin/{program}", *LOADED.get(program, [])]]

    def _objects(self, path):
        """The object files of a source."""
        name = os.path.basename(path) + ".o"
        for folder, _, files in os.walk(self._build):
            if name in files and (f"/{os.path.dirname(path)}/" in folder + "/"):
                yield os.path.join(folder, name)

    def remember_unchanged(self, paths):
        files = [part for program in ALL_TESTS for part in self._parts(program)]
        files += [name for path in paths for name in self._objects(path)]
        self._unchanged = {name: digest(name) for name in files}

    def _is_same(self, names):
        names = list(names)
        return bool(names) and all(digest(name) == self._unchanged.get(name) for name in names)

    def _changed(self, mutant):
        with open(os.path.join(self._source, mutant.path), encoding="utf-8") as file:
            lines = file.read().split("\n")
        lines[mutant.line] = mutant.after
        return "\n".join(lines)

    def apply(self, mutant):
        with open(os.path.join(self._copy, mutant.path), "w", encoding="utf-8") as file:
            file.write(self._changed(mutant))

    def undo(self, mutant):
        self._refresh(mutant.path)

    def judge(self, mutant):
        """NOT_COMPILED, SAME_CODE, the test program that notices the change, or ""."""
        found = self._noted.find(self._changed(mutant))
        if found is None:
            self.apply(mutant)
            try:
                found = self._try(mutant)
            finally:
                self.undo(mutant)
            if found:
                self._noted.add(self._changed(mutant), found)
        return found

    def _try(self, mutant):
        own = OWN_TESTS[os.path.dirname(mutant.path)]
        if not self.compiles(own):
            return NOT_COMPILED
        if self._is_same(self._objects(mutant.path)):
            return SAME_CODE
        for programs in (own, [name for name in ALL_TESTS if name not in own]):
            if not self.compiles(programs):
                return "the build"
            for program in programs:
                if not self._is_same(self._parts(program)) and not self.passes(program):
                    return program
        return ""


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("source")
    parser.add_argument("work")
    parser.add_argument("number", type=int, nargs="?", default=200)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", default="")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--list", action="store_true")
    chosen = parser.parse_args()

    paths = [path for path in sources(chosen.source) if path.startswith(chosen.only)]
    mutants = in_drawn_order(
        [mutant for path in paths for mutant in mutants_of(chosen.source, path)], chosen.seed)
    if chosen.list:
        print("\n".join(map(str, mutants[:chosen.number])))
        return 0
    equivalents = read_equivalents()
    workshop = Workshop(os.path.abspath(chosen.source), os.path.abspath(chosen.work), chosen.jobs)
    if not workshop.compiles(ALL_TESTS):
        sys.exit("the unchanged sources do not compile")
    for program in ALL_TESTS:
        if not workshop.passes(program):
            sys.exit(f"{program} fails without a change")
    workshop.remember_unchanged(paths)

    tried, noticed, equivalent, survivors = 0, 0, 0, []
    for mutant in mutants:
        if tried == chosen.number:
            break
        if mutant.key() in equivalents:
            tried += 1
            equivalent += 1
            print(f"equivalent  {mutant}: {equivalents[mutant.key()]}", flush=True)
            continue
        found = workshop.judge(mutant)
        if found == NOT_COMPILED:
            continue
        tried += 1
        if found == SAME_CODE:
            equivalent += 1
            print(f"equivalent  {mutant}: the compiler makes the same code of it", flush=True)
        elif found:
            noticed += 1
            print(f"noticed     {mutant}  by {found}", flush=True)
        else:
            survivors.append(mutant)
            print(f"SURVIVES    {mutant}", flush=True)
    counted = tried - equivalent
    share = 100.0 * noticed / counted if counted else 0.0
    print(f"{tried} changes of {len(mutants)} possible ones, seed {chosen.seed}: {equivalent} "
          f"equivalent, {noticed} of the other {counted} noticed: {share:.1f} %")
    for mutant in survivors:
        print(f"  survives: {mutant}")
    return 0 if share >= REQUIRED else 1


if __name__ == "__main__":
    sys.exit(main())
