#!/usr/bin/env python3
"""usage: growth_test.py PROGRAM CASE COUNT BOUND [REASON TO SKIP]

Counts the instructions of PROGRAM's work on COUNT and on four times COUNT items. Fails if they grow
by a factor of more than BOUND. Exits with 77 if they cannot be counted.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile


# In memory, because waiting for a disk takes time although it is not counted.
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None


def instructions(program, case, count):
    with tempfile.TemporaryDirectory(prefix="dp-growth-", dir=MEMORY) as root:
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
             "--toggle-collect=measured", program, case, str(count)],
            env={**os.environ, "DP_ROOT": root}, stderr=subprocess.PIPE, text=True)
    collected = re.search(r"Collected *: *(\d+)", run.stderr)
    if run.returncode != 0 or not collected or int(collected[1]) == 0:
        sys.exit(f"{case} with {count} items could not be counted:\n{run.stderr}")
    return int(collected[1])


def main(program, case, count, bound, reason=None):
    if not reason and not shutil.which("valgrind"):
        reason = "valgrind is not installed"
    if reason:
        print(f"skipped: {reason}")
        return 77
    few, many = (instructions(program, case, int(count) * factor) for factor in (1, 4))
    print(f"{case}: {few:,} instructions for {count} items, {many:,} for four times as many: "
          f"factor {many / few:.2f} (bound {bound})")
    return 1 if many > few * float(bound) else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
