#!/usr/bin/env python3
"""usage: time_test.py FILE...

On 32-bit machines: no file uses a function of the C library with 32-bit times or file positions,
nor one of the C++ library that uses them inside. On 64-bit machines there are no such functions.
"""

import sys

from elf import Elf

# Each has a variant with 64-bit times or positions, which the build must select.
SHORT = set("""
    __adjtimex __clock_adjtime adjtime adjtimex clock_adjtime clock_getres clock_gettime
    clock_nanosleep clock_settime cnd_timedwait ctime ctime_r difftime fcntl fstat fstatat ftime
    futimens futimes futimesat getitimer getrusage gettimeofday gmtime gmtime_r ioctl localtime
    localtime_r lstat lutimes mktime mq_timedreceive mq_timedsend mtx_timedlock nanosleep ppoll
    pselect pthread_cond_clockwait pthread_cond_timedwait pthread_mutex_clocklock
    pthread_mutex_timedlock recvmmsg recvmsg sched_rr_get_interval select sem_clockwait
    sem_timedwait semtimedop sendmsg setitimer settimeofday stat thrd_sleep time timegm timer_gettime
    timer_settime timerfd_gettime timerfd_settime timespec_get utime utimensat utimes wait3 wait4
    creat fallocate fgetpos fopen freopen fseeko fsetpos fstatfs fstatvfs ftello ftruncate ftw
    getrlimit glob lockf lseek mkostemp mkstemp mmap nftw open openat posix_fadvise
    posix_fallocate pread preadv pwrite pwritev readdir readdir_r scandir sendfile setrlimit statfs
    statvfs tmpfile truncate
""".split())
# The C++ library of the target was itself built with 32-bit times.
SHORT_IN_CXX = ("_ZNSt6chrono3_V212system_clock3nowEv", "_ZNSt10filesystem15last_write_time",
                "_ZNSt10filesystem7__cxx1115last_write_time")


def main(paths):
    failed = not paths
    for path in paths:
        elf = Elf(path)
        if elf.bits != 32:
            print(f"{path}: {elf.bits} bits")
            continue
        names = {s.name for s in elf.imported()}
        found = sorted(n for n in names if n in SHORT or n.startswith(SHORT_IN_CXX))
        wide = sorted(n for n in names if "64" in n and not n.startswith("_Z"))
        failed |= bool(found)
        print(f"{path}: uses {', '.join(wide) or 'no times'}"
              + (f", but also {', '.join(found)}" if found else ""))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
