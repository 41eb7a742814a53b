"""Waits of tests for other processes."""

import sys
import time

PATIENCE_S = 120


def fail(text):
    print(f"FAILED: {text}")
    sys.exit(1)


def until(what, condition):
    """Waits until the condition has a value that counts as true, and returns that."""
    end = time.monotonic() + PATIENCE_S
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.05)
    fail(f"timed out waiting for {what}")
    return None
