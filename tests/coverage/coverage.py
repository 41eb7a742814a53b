#!/usr/bin/env python3
"""usage: coverage.py SOURCE_DIR BUILD_DIR [--jobs N] [PROGRAM...]

Runs test programs of a build with --coverage; without PROGRAM, takes the counts of the last run.
Prints, for each folder of the library and for platform/posix, how many lines ran and how many
branches were taken, and the lines and branches that were not. Exits with 1 when a share is below its
bound (BOUNDS), a test fails or unreachable.txt is wrong.

What counts is what gcov reports, without what only the compiler put there:
- Each call that may throw has a branch to the next statement and one to the clean-up after an
  exception. Neither counts.
- The choice of a catch clause by the type of the exception does not count.
- The code of a line that has only a closing brace, which destroys variables, does not count.
- The test whether a static variable is initialised does not count.
A line or branch in a template or an inline function counts once; it is covered when one of its
instances is.

unreachable.txt lists code that no test can reach; see the comment at its top. Its lines and branches
are neither in the totals nor missing.
"""

import argparse
import collections
import concurrent.futures
import json
import os
import re
import subprocess
import sys
import time

LIBRARY = ["common", "settings", "transactions", "batch", "logs", "exec", "bios"]
PLATFORM = "platform/posix"
FOLDERS = LIBRARY + [PLATFORM]
# Name, folders, least shares of lines and of branches in percent.
BOUNDS = [("library", LIBRARY, 100.0, 97.0),
          *((folder, [folder], 100.0, 95.0) for folder in LIBRARY),
          (PLATFORM, [PLATFORM], 95.0, 90.0)]
# Tests that take seconds in such a build, of code that shorter ones cover.
LEFT_OUT = [
    "efi_compress.round_trips_every_small_size",
    "efi_decompressor.expands_codes_without_bits_up_to_the_size_limit",
    "process_log.numbers_the_65536th_status_record_0000",
    "read_file.agrees_with_stream_extraction_on_generated_and_mangled_files",
    "read_file.reads_a_million_lines",
    "setting_cache.stays_ordered_and_fast_with_100_000_instances_in_any_order",
]
UNREACHABLE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "unreachable.txt")


class Counts:
    """How often lines and branches ran."""

    def __init__(self):
        self.lines = collections.Counter()  # (path, line) -> runs
        # (path, line) -> {(place of the function, number of branches): runs of each branch}
        self.branches = collections.defaultdict(dict)

    def missing_branches(self, place):
        return sum(runs.count(0) for runs in self.branches.get(place, {}).values())

    def all_branches(self, place):
        return sum(len(runs) for runs in self.branches.get(place, {}).values())


def written_branches(branches):
    """The runs of the branches that are in the source. A call that may throw has two branches, one
    after the other, of which one is marked as thrown and the other as the way to the next statement."""
    found = []
    skip_next = False
    for branch in branches:
        if branch["throw"]:
            if found and found[-1] is not None and found[-1]["fallthrough"]:
                found[-1] = None
            else:
                skip_next = True
        elif skip_next:
            skip_next = False
            found.append(None)
        else:
            found.append(branch)
    return [branch["count"] for branch in found if branch is not None]


# Lines with a closing brace alone, and lines whose branches are not in the source.
CLOSING = re.compile(r"\s*\}[;)]*\s*")
NOT_BRANCHING = re.compile(r"\s*(\} catch \(|static [^?&|]*;)")


def add_file(counts, source, path, data):
    with open(os.path.join(source, path), encoding="utf-8") as file:
        text = [""] + file.read().split("\n")
    start = {function["name"]: (function["start_line"], function["start_column"])
             for function in data["functions"]}
    for line in data["lines"]:
        place = (path, line["line_number"])
        if CLOSING.fullmatch(text[line["line_number"]]):
            continue
        counts.lines[place] += line["count"]
        runs = written_branches(line["branches"])
        if runs and not NOT_BRANCHING.match(text[line["line_number"]]):
            instances = counts.branches[place]
            key = (start.get(line.get("function_name")), len(runs))
            instances[key] = [a + b for a, b in zip(instances.get(key, [0] * len(runs)), runs)]


def run_gcov(folder, notes):
    text = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities", *notes],
                          cwd=folder, check=True, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL).stdout.decode()
    decoder = json.JSONDecoder()
    while text:
        data, end = decoder.raw_decode(text)
        yield data
        text = text[end:].lstrip()


def read_counts(source, build, jobs):
    notes = [os.path.join(folder, name) for folder, _, names in os.walk(build) for name in names
             if name.endswith(".gcno")]
    counts = Counts()
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        parts = [notes[i::4 * jobs] for i in range(4 * jobs)]
        for part in pool.map(lambda part: list(run_gcov(build, part)) if part else [], parts):
            for data in part:
                for file in data["files"]:
                    path = os.path.relpath(os.path.realpath(os.path.join(
                        data["current_working_directory"], file["file"])), source)
                    if os.path.dirname(path) in FOLDERS:
                        add_file(counts, source, path, file)
    return counts


class Entry:
    """One entry of unreachable.txt."""

    def __init__(self, path, code, lines, branches):
        self.path, self.code, self.lines, self.branches = path, code, lines, branches

    def first_line(self, source):
        """The line of the file where the code begins; an error text when it is not there once."""
        try:
            with open(os.path.join(source, self.path), encoding="utf-8") as file:
                text = [line.strip() for line in file]
        except OSError as error:
            return f"{self.path}: {error.strerror}"
        found = [i + 1 for i in range(len(text)) if text[i:i + len(self.code)] == self.code]
        if len(found) != 1:
            return f"{self.path}: this code is there {len(found)} times: {' '.join(self.code)}"
        return found[0]

    def exclude(self, counts, first):
        """Removes what is missing; returns an error text when that is not what the entry says."""
        places = [(self.path, first + i) for i in range(len(self.code))]
        lines = [place for place in places if counts.lines.get(place) == 0]
        branches = sum(counts.missing_branches(place) for place in places)
        if (len(lines), branches) != (self.lines, self.branches):
            return (f"{self.path}:{first}: {len(lines)} lines and {branches} branches are missing, "
                    f"listed are {self.lines} and {self.branches}: {' '.join(self.code)}")
        for place in lines:
            del counts.lines[place]
        for place in places:
            for key, runs in counts.branches.get(place, {}).items():
                counts.branches[place][key] = [run for run in runs if run != 0]
        return None


def read_unreachable():
    with open(UNREACHABLE, encoding="utf-8") as file:
        text = "".join(line for line in file if not line.startswith("#"))
    for block in re.split(r"\n\s*\n", text.strip()):
        if not block.strip():
            continue
        lines = block.split("\n")
        head = re.fullmatch(r"(\S+): (\d+) lines?, (\d+) branch(?:es)?", lines[0])
        code = [line[6:].strip() for line in lines[1:] if line.startswith("    | ")]
        reason = " ".join(line for line in lines[1:] if not line.startswith("    | ")).strip()
        if head is None or not code or not reason:
            sys.exit(f"{UNREACHABLE}: not an entry:\n{block}")
        yield Entry(head[1], code, int(head[2]), int(head[3]))


def share(part, whole):
    return 100.0 * part / whole if whole else 100.0


def show(counts):
    """Prints the table; returns the bounds that do not hold."""
    broken = []
    print(f"{'':16}{'lines':>8}{'missing':>9}{'':>9}{'branches':>10}{'missing':>9}{'':>9}")
    for name, folders, least_lines, least_branches in BOUNDS:
        places = [place for place in counts.lines if os.path.dirname(place[0]) in folders]
        missing = sum(counts.lines[place] == 0 for place in places)
        branches = sum(counts.all_branches(place) for place in places)
        untaken = sum(counts.missing_branches(place) for place in places)
        shares = share(len(places) - missing, len(places)), share(branches - untaken, branches)
        print(f"{name:16}{len(places):8}{missing:9}{shares[0]:8.2f}%{branches:10}{untaken:9}"
              f"{shares[1]:8.2f}%")
        if not places:
            broken.append(f"{name}: nothing was counted")
        for what, found, least in (("lines", shares[0], least_lines),
                                   ("branches", shares[1], least_branches)):
            if found < least:
                broken.append(f"{name}: {found:.2f} % of the {what}, at least {least:g} % are "
                              "required")
    return broken


def show_missing(source, counts):
    texts = {}
    for path, line in sorted(counts.lines):
        if path not in texts:
            with open(os.path.join(source, path), encoding="utf-8") as file:
                texts[path] = file.read().split("\n")
        branches = counts.missing_branches((path, line))
        if counts.lines[(path, line)] == 0:
            what = "does not run"
        elif branches:
            what = f"{branches} of {counts.all_branches((path, line))} branches not taken"
        else:
            continue
        print(f"{path}:{line}: {what}: {texts[path][line - 1].strip()}")


def run_programs(build, programs, jobs):
    """Runs the tests; returns whether all passed."""
    for folder, _, names in os.walk(build):
        for name in names:
            if name.endswith(".gcda"):
                os.unlink(os.path.join(folder, name))

    def run(name):
        began = time.monotonic()
        result = subprocess.run([os.path.join(build, "bin", name), "--gtest_brief=1",
                                 "--gtest_filter=-" + ":".join(LEFT_OUT)],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                stdin=subprocess.DEVNULL, timeout=900, check=False)
        return name, result, time.monotonic() - began

    passed = True
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for name, result, seconds in pool.map(run, programs):
            print(f"{name}: {seconds:.1f} s", flush=True)
            if result.returncode != 0:
                passed = False
                print(result.stdout.decode(errors="replace"))
                print(f"{name} exits with {result.returncode}", flush=True)
    return passed


def main():
    parser = argparse.ArgumentParser(usage=__doc__.removeprefix("usage: "))
    parser.add_argument("source")
    parser.add_argument("build")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("programs", nargs="*")
    chosen = parser.parse_intermixed_args()
    source, build = os.path.realpath(chosen.source), os.path.realpath(chosen.build)

    passed = not chosen.programs or run_programs(build, chosen.programs, chosen.jobs)
    counts = read_counts(source, build, chosen.jobs)
    errors = [] if passed else ["a test failed"]
    for entry in read_unreachable():
        first = entry.first_line(source)
        error = first if isinstance(first, str) else entry.exclude(counts, first)
        if error:
            errors.append(f"unreachable.txt: {error}")
    show_missing(source, counts)
    errors += show(counts)
    for error in errors:
        print(f"coverage: {error}", file=sys.stderr)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
