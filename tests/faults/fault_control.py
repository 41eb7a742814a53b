"""Controls fault_interposer.c, which has the same layout of the shared file."""

import errno
import mmap
import os
import struct

KINDS = ["open", "read", "write", "close", "rename", "link", "unlink", "fsync", "fcntl", "flock",
         "mkdir", "stat", "mmap", "inotify", "poll", "queue", "alloc", "socket", "process",
         "attribute"]
# The calls that change or read files: where a kill can leave something half done.
FILE_KINDS = ["open", "read", "write", "close", "rename", "link", "unlink", "fsync", "mkdir",
              "socket", "attribute"]

FAIL, FAIL_FROM, KILL_BEFORE, KILL_AFTER, SHORTEN = 1, 2, 3, 4, 5

# The error that a call of the kind most likely fails with.
ERRORS = {"open": errno.EMFILE, "read": errno.EIO, "write": errno.ENOSPC, "close": errno.EIO,
          "rename": errno.EIO, "link": errno.EPERM, "unlink": errno.EIO, "fsync": errno.EIO,
          "fcntl": errno.ENOLCK, "flock": errno.ENOLCK, "mkdir": errno.ENOSPC, "stat": errno.EIO,
          "mmap": errno.ENOMEM, "inotify": errno.ENOSPC, "poll": errno.ENOMEM,
          "queue": errno.EMFILE, "alloc": errno.ENOMEM, "socket": errno.ENOBUFS,
          "process": errno.EAGAIN, "attribute": errno.EPERM}

_LAYOUT = struct.Struct("<32sIIIiQQQii32s32Q")
_ACTIVE = 32
_CALLS = 56
_FIRED = 64


class FaultControl:
    """The file that the interposer in the program `program` maps."""

    def __init__(self, path, program):
        self.path = path
        self._program = program.encode()
        with open(path, "wb") as file:
            file.write(bytes(_LAYOUT.size))
        with open(path, "r+b") as file:
            self._map = mmap.mmap(file.fileno(), _LAYOUT.size)
        self.disarm()

    def environment(self, interposer):
        return {"LD_PRELOAD": interposer, "DP_FAULT_CONTROL": self.path}

    def arm(self, kinds, at=0, action=FAIL, error=0):
        """Counts the calls of `kinds` from now on; the one with the number `at` is the chosen one."""
        mask = 0
        for kind in kinds:
            mask |= 1 << KINDS.index(kind)
        self._map[:] = _LAYOUT.pack(self._program, 0, mask, action, error, at, 0, 0, -1, 0, b"",
                                    *([0] * 32))
        self._map[_ACTIVE:_ACTIVE + 4] = struct.pack("<I", 1)

    def disarm(self):
        """Passes all calls on, and forgets the counts."""
        self._map[:] = _LAYOUT.pack(self._program, 0, 0, 0, 0, 0, 0, 0, -1, 0, b"", *([0] * 32))

    def pause(self):
        """Passes all calls on, and keeps the counts."""
        self._map[_ACTIVE:_ACTIVE + 4] = struct.pack("<I", 0)

    def calls(self):
        return struct.unpack_from("<Q", self._map, _CALLS)[0]

    def fired(self):
        return struct.unpack_from("<Q", self._map, _FIRED)[0]

    def counts(self):
        """The number of calls by kind."""
        values = _LAYOUT.unpack(self._map[:])[11:]
        return dict(zip(KINDS, values))

    def last(self):
        """The function and the descriptor of the last chosen call."""
        values = _LAYOUT.unpack(self._map[:])
        return values[10].rstrip(b"\0").decode(), values[8]


def kill_points(calls, every, seed):
    """The calls to kill at and how: before and after each `every`-th one, from one that the seed chooses."""
    return [(at, action) for at in range(1 + seed % every, calls + 1, every)
            for action in (KILL_BEFORE, KILL_AFTER)]


def report_kills(kills, seconds):
    """Prints what a test's kills came to. Returns its exit code."""
    print(f"{kills.kills} kills, {kills.acknowledged} requests acknowledged, "
          f"{len(kills.problems)} problems, {seconds:.0f} s")
    return 1 if kills.problems or kills.kills == 0 else 0
