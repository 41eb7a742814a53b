/* Makes chosen calls of a program to the C library fail, or kills the program there. Loaded with
 * LD_PRELOAD; what to do is in a file that the test maps too (fault_control.py has the same
 * layout).
 *
 * $DP_FAULT_CONTROL names the file. Without it, and in programs of another name than the one in the
 * file, every call is passed on; so is every call before main, where nothing could handle a
 * failure. Children that a program forks are not counted.
 *
 * Compiled without _FILE_OFFSET_BITS, so that open and open64 are different functions here. */
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <signal.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

enum kind {
    kind_open,
    kind_read,
    kind_write,
    kind_close,
    kind_rename,
    kind_link,
    kind_unlink,
    kind_fsync,
    kind_fcntl,
    kind_flock,
    kind_mkdir,
    kind_stat,
    kind_mmap,
    kind_inotify,
    kind_poll,
    kind_queue,
    kind_alloc,
    kind_socket,
    kind_process,
    kind_attribute,
    kinds
};

enum action {
    action_none,
    action_fail,      /* the n-th call fails */
    action_fail_from, /* so do all later ones */
    action_kill_before,
    action_kill_after,
    action_shorten /* the n-th read or write transfers one byte */
};

struct control {
    char program[32];
    uint32_t active;
    uint32_t mask; /* bits of the selected kinds */
    uint32_t action;
    int32_t error;      /* errno of a failed call */
    uint64_t at;        /* the selected call, counted from 1 */
    uint64_t calls;     /* selected calls so far */
    uint64_t fired;     /* calls that failed, were shortened or killed */
    int32_t descriptor; /* of the last such call, -1 when it has none */
    int32_t pid;
    char call[32];      /* its function */
    uint64_t count[32]; /* calls of each kind */
};

static struct control* control;
static pid_t own_pid;

#define EXPORT __attribute__((visibility("default")))

__attribute__((constructor)) static void attach(void) {
    const char* path = NULL;
    for (char** variable = environ; variable != NULL && *variable != NULL; ++variable) {
        if (strncmp(*variable, "DP_FAULT_CONTROL=", 17) == 0) {
            path = *variable + 17;
        }
    }
    if (path == NULL) {
        return;
    }
    const int fd = (int)syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC);
    if (fd == -1) {
        return;
    }
    void* const map = (void*)syscall(SYS_mmap, NULL, sizeof(struct control), PROT_READ | PROT_WRITE,
                                     MAP_SHARED, fd, 0);
    syscall(SYS_close, fd);
    if (map == MAP_FAILED ||
        strcmp(((struct control*)map)->program, program_invocation_short_name) != 0) {
        return;
    }
    own_pid = getpid();
    control = map;
    control->pid = own_pid;
}

static int (*program_main)(int, char**, char**);
static int is_in_main;

static int counted_main(int argc, char** argv, char** environment) {
    is_in_main = 1;
    return program_main(argc, argv, environment);
}

static void die(void) {
    syscall(SYS_kill, own_pid, SIGKILL);
    for (;;) {
        pause();
    }
}

/* What happens to this call. Leaves errno alone unless the call is to fail. */
static enum action decide(enum kind kind, const char* call, int descriptor) {
    struct control* const c = control;
    if (c == NULL || !is_in_main || __atomic_load_n(&c->active, __ATOMIC_ACQUIRE) == 0 ||
        (pid_t)syscall(SYS_getpid) != own_pid) {
        return action_none;
    }
    __atomic_add_fetch(&c->count[kind], 1, __ATOMIC_RELAXED);
    if ((c->mask >> kind & 1U) == 0) {
        return action_none;
    }
    const uint64_t number = __atomic_add_fetch(&c->calls, 1, __ATOMIC_RELAXED);
    const int is_selected = number == c->at || (c->action == action_fail_from && number > c->at);
    if (c->at == 0 || !is_selected) {
        return action_none;
    }
    c->descriptor = descriptor;
    strncpy(c->call, call, sizeof c->call - 1);
    __atomic_add_fetch(&c->fired, 1, __ATOMIC_RELEASE);
    switch (c->action) {
        case action_fail:
        case action_fail_from:
            errno = c->error;
            return action_fail;
        case action_kill_before:
            die();
            return action_none;
        default:
            return (enum action)c->action;
    }
}

static void* next_function(const char* name) {
    return dlsym(RTLD_NEXT, name);
}

/* Calls the C library's own function. ISO C has no conversion of dlsym's result. */
#define NEXT(name)                                        \
    static __typeof__(&name) next_##name;                 \
    if (next_##name == NULL) {                            \
        void* const found = next_function(#name);         \
        memcpy(&next_##name, &found, sizeof next_##name); \
    }

/* The C library's start code calls this with the program's main function. */
int __libc_start_main(int (*function)(int, char**, char**), int argc, char** argv, void* init,
                      void* fini, void* loader_fini, void* stack_end);
EXPORT int __libc_start_main(int (*function)(int, char**, char**), int argc, char** argv,
                             void* init, void* fini, void* loader_fini, void* stack_end) {
    NEXT(__libc_start_main)
    program_main = function;
    return next___libc_start_main(counted_main, argc, argv, init, fini, loader_fini, stack_end);
}

#define INTERPOSE(type, name, kind, descriptor, failure, parameters, arguments) \
    EXPORT type name parameters {                                               \
        NEXT(name)                                                              \
        const enum action what = decide(kind, #name, descriptor);               \
        if (what == action_fail) {                                              \
            return failure;                                                     \
        }                                                                       \
        type const result = next_##name arguments;                              \
        if (what == action_kill_after) {                                        \
            die();                                                              \
        }                                                                       \
        return result;                                                          \
    }

/* open and its relatives: the mode is only there when a file may be created. */
#define INTERPOSE_OPEN(name, parameters, ...)                             \
    EXPORT int name parameters {                                          \
        NEXT(name)                                                        \
        mode_t mode = 0;                                                  \
        if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) { \
            va_list list;                                                 \
            va_start(list, flags);                                        \
            mode = va_arg(list, mode_t);                                  \
            va_end(list);                                                 \
        }                                                                 \
        const enum action what = decide(kind_open, #name, -1);            \
        if (what == action_fail) {                                        \
            return -1;                                                    \
        }                                                                 \
        const int result = next_##name(__VA_ARGS__, mode);                \
        if (what == action_kill_after) {                                  \
            die();                                                        \
        }                                                                 \
        return result;                                                    \
    }

INTERPOSE_OPEN(open, (const char* path, int flags, ...), path, flags)
INTERPOSE_OPEN(open64, (const char* path, int flags, ...), path, flags)
INTERPOSE_OPEN(openat, (int folder, const char* path, int flags, ...), folder, path, flags)
INTERPOSE_OPEN(openat64, (int folder, const char* path, int flags, ...), folder, path, flags)

/* What the compiler calls instead where it knows the sizes. */
int __open_2(const char* path, int flags);
int __open64_2(const char* path, int flags);
int __openat_2(int folder, const char* path, int flags);
int __openat64_2(int folder, const char* path, int flags);
ssize_t __read_chk(int fd, void* buffer, size_t count, size_t size);
ssize_t __pread64_chk(int fd, void* buffer, size_t count, off64_t at, size_t size);
ssize_t __recv_chk(int fd, void* buffer, size_t count, size_t size, int flags);
int __poll_chk(struct pollfd* entries, nfds_t count, int timeout, size_t size);
mqd_t __mq_open_2(const char* name, int flags);
char* __realpath_chk(const char* path, char* resolved, size_t size);
INTERPOSE(int, __open_2, kind_open, -1, -1, (const char* path, int flags), (path, flags))
INTERPOSE(int, __open64_2, kind_open, -1, -1, (const char* path, int flags), (path, flags))
INTERPOSE(int, __openat_2, kind_open, -1, -1, (int folder, const char* path, int flags),
          (folder, path, flags))
INTERPOSE(int, __openat64_2, kind_open, -1, -1, (int folder, const char* path, int flags),
          (folder, path, flags))
INTERPOSE(int, creat, kind_open, -1, -1, (const char* path, mode_t mode), (path, mode))
INTERPOSE(FILE*, fopen, kind_open, -1, NULL, (const char* path, const char* mode), (path, mode))
INTERPOSE(FILE*, fopen64, kind_open, -1, NULL, (const char* path, const char* mode), (path, mode))
INTERPOSE(FILE*, fdopen, kind_open, fd, NULL, (int fd, const char* mode), (fd, mode))
INTERPOSE(DIR*, opendir, kind_open, -1, NULL, (const char* path), (path))
INTERPOSE(DIR*, fdopendir, kind_open, fd, NULL, (int fd), (fd))
INTERPOSE(int, mkostemp, kind_open, -1, -1, (char* path, int flags), (path, flags))
INTERPOSE(int, mkostemp64, kind_open, -1, -1, (char* path, int flags), (path, flags))
INTERPOSE(int, mkstemp, kind_open, -1, -1, (char* path), (path))
INTERPOSE(int, mkstemp64, kind_open, -1, -1, (char* path), (path))
INTERPOSE(int, dup, kind_open, fd, -1, (int fd), (fd))
INTERPOSE(int, memfd_create, kind_open, -1, -1, (const char* name, unsigned flags), (name, flags))

/* A shortened transfer moves one byte, as a signal or a full pipe may. */
#define INTERPOSE_TRANSFER(name, kind, parameters, arguments) \
    EXPORT ssize_t name parameters {                          \
        NEXT(name)                                            \
        const enum action what = decide(kind, #name, fd);     \
        if (what == action_fail) {                            \
            return -1;                                        \
        }                                                     \
        if (what == action_shorten && count > 1) {            \
            count = 1;                                        \
        }                                                     \
        const ssize_t result = next_##name arguments;         \
        if (what == action_kill_after) {                      \
            die();                                            \
        }                                                     \
        return result;                                        \
    }

INTERPOSE_TRANSFER(read, kind_read, (int fd, void* buffer, size_t count), (fd, buffer, count))
INTERPOSE_TRANSFER(__read_chk, kind_read, (int fd, void* buffer, size_t count, size_t size),
                   (fd, buffer, count, size))
INTERPOSE_TRANSFER(pread, kind_read, (int fd, void* buffer, size_t count, off_t at),
                   (fd, buffer, count, at))
INTERPOSE_TRANSFER(pread64, kind_read, (int fd, void* buffer, size_t count, off64_t at),
                   (fd, buffer, count, at))
INTERPOSE_TRANSFER(__pread64_chk, kind_read,
                   (int fd, void* buffer, size_t count, off64_t at, size_t size),
                   (fd, buffer, count, at, size))
INTERPOSE_TRANSFER(recv, kind_read, (int fd, void* buffer, size_t count, int flags),
                   (fd, buffer, count, flags))
INTERPOSE_TRANSFER(__recv_chk, kind_read,
                   (int fd, void* buffer, size_t count, size_t size, int flags),
                   (fd, buffer, count, size, flags))
INTERPOSE(ssize_t, recvmsg, kind_read, fd, -1, (int fd, struct msghdr* message, int flags),
          (fd, message, flags))
INTERPOSE(char*, fgets, kind_read, -1, NULL, (char* line, int size, FILE* stream),
          (line, size, stream))
INTERPOSE(struct dirent*, readdir, kind_read, -1, NULL, (DIR * folder), (folder))
INTERPOSE(struct dirent64*, readdir64, kind_read, -1, NULL, (DIR * folder), (folder))
INTERPOSE_TRANSFER(write, kind_write, (int fd, const void* buffer, size_t count),
                   (fd, buffer, count))
INTERPOSE_TRANSFER(pwrite64, kind_write, (int fd, const void* buffer, size_t count, off64_t at),
                   (fd, buffer, count, at))
INTERPOSE_TRANSFER(send, kind_write, (int fd, const void* buffer, size_t count, int flags),
                   (fd, buffer, count, flags))
INTERPOSE(ssize_t, sendmsg, kind_write, fd, -1, (int fd, const struct msghdr* message, int flags),
          (fd, message, flags))
INTERPOSE(int, ftruncate, kind_write, fd, -1, (int fd, off_t size), (fd, size))
INTERPOSE(int, ftruncate64, kind_write, fd, -1, (int fd, off64_t size), (fd, size))

EXPORT ssize_t writev(int fd, const struct iovec* parts, int count) {
    NEXT(writev)
    const enum action what = decide(kind_write, "writev", fd);
    if (what == action_fail) {
        return -1;
    }
    struct iovec first;
    if (what == action_shorten && count > 0 && parts[0].iov_len > 0) {
        first.iov_base = parts[0].iov_base;
        first.iov_len = 1;
        parts = &first;
        count = 1;
    }
    const ssize_t result = next_writev(fd, parts, count);
    if (what == action_kill_after) {
        die();
    }
    return result;
}

/* A close that fails has closed the descriptor, as on Linux. */
#define INTERPOSE_CLOSE(name, parameters, arguments, fd, failure) \
    EXPORT int name parameters {                                  \
        NEXT(name)                                                \
        const enum action what = decide(kind_close, #name, fd);   \
        const int error = errno;                                  \
        const int result = next_##name arguments;                 \
        if (what == action_kill_after) {                          \
            die();                                                \
        }                                                         \
        if (what == action_fail) {                                \
            errno = error;                                        \
            return failure;                                       \
        }                                                         \
        return result;                                            \
    }

INTERPOSE_CLOSE(close, (int fd), (fd), fd, -1)
INTERPOSE_CLOSE(fclose, (FILE * stream), (stream), -1, EOF)
INTERPOSE_CLOSE(closedir, (DIR * folder), (folder), -1, -1)
INTERPOSE_CLOSE(mq_close, (mqd_t queue), (queue), -1, -1)

INTERPOSE(int, rename, kind_rename, -1, -1, (const char* from, const char* to), (from, to))
INTERPOSE(int, renameat, kind_rename, -1, -1,
          (int from_folder, const char* from, int to_folder, const char* to),
          (from_folder, from, to_folder, to))
INTERPOSE(int, renameat2, kind_rename, -1, -1,
          (int from_folder, const char* from, int to_folder, const char* to, unsigned flags),
          (from_folder, from, to_folder, to, flags))
INTERPOSE(int, link, kind_link, -1, -1, (const char* from, const char* to), (from, to))
INTERPOSE(int, linkat, kind_link, -1, -1,
          (int from_folder, const char* from, int to_folder, const char* to, int flags),
          (from_folder, from, to_folder, to, flags))
INTERPOSE(int, symlink, kind_link, -1, -1, (const char* from, const char* to), (from, to))
INTERPOSE(int, unlink, kind_unlink, -1, -1, (const char* path), (path))
INTERPOSE(int, unlinkat, kind_unlink, -1, -1, (int folder, const char* path, int flags),
          (folder, path, flags))
INTERPOSE(int, remove, kind_unlink, -1, -1, (const char* path), (path))
INTERPOSE(int, rmdir, kind_unlink, -1, -1, (const char* path), (path))
INTERPOSE(int, fsync, kind_fsync, fd, -1, (int fd), (fd))
INTERPOSE(int, fdatasync, kind_fsync, fd, -1, (int fd), (fd))
INTERPOSE(int, flock, kind_flock, fd, -1, (int fd, int operation), (fd, operation))
INTERPOSE(int, mkdir, kind_mkdir, -1, -1, (const char* path, mode_t mode), (path, mode))
INTERPOSE(int, mkdirat, kind_mkdir, -1, -1, (int folder, const char* path, mode_t mode),
          (folder, path, mode))
INTERPOSE(char*, mkdtemp, kind_mkdir, -1, NULL, (char* path), (path))
INTERPOSE(int, mkfifo, kind_mkdir, -1, -1, (const char* path, mode_t mode), (path, mode))

/* The third argument is a number or a pointer; both are passed on in the same way. */
#define INTERPOSE_FCNTL(name)                                   \
    EXPORT int name(int fd, int command, ...) {                 \
        NEXT(name)                                              \
        va_list list;                                           \
        va_start(list, command);                                \
        void* const argument = va_arg(list, void*);             \
        va_end(list);                                           \
        const enum action what = decide(kind_fcntl, #name, fd); \
        if (what == action_fail) {                              \
            return -1;                                          \
        }                                                       \
        const int result = next_##name(fd, command, argument);  \
        if (what == action_kill_after) {                        \
            die();                                              \
        }                                                       \
        return result;                                          \
    }

INTERPOSE_FCNTL(fcntl)
INTERPOSE_FCNTL(fcntl64)

INTERPOSE(int, stat, kind_stat, -1, -1, (const char* path, struct stat* status), (path, status))
INTERPOSE(int, stat64, kind_stat, -1, -1, (const char* path, struct stat64* status), (path, status))
INTERPOSE(int, lstat, kind_stat, -1, -1, (const char* path, struct stat* status), (path, status))
INTERPOSE(int, lstat64, kind_stat, -1, -1, (const char* path, struct stat64* status),
          (path, status))
INTERPOSE(int, fstat, kind_stat, fd, -1, (int fd, struct stat* status), (fd, status))
INTERPOSE(int, fstat64, kind_stat, fd, -1, (int fd, struct stat64* status), (fd, status))
INTERPOSE(int, fstatat, kind_stat, -1, -1,
          (int folder, const char* path, struct stat* status, int flags),
          (folder, path, status, flags))
INTERPOSE(int, fstatat64, kind_stat, -1, -1,
          (int folder, const char* path, struct stat64* status, int flags),
          (folder, path, status, flags))
INTERPOSE(int, access, kind_stat, -1, -1, (const char* path, int mode), (path, mode))
INTERPOSE(int, faccessat, kind_stat, -1, -1, (int folder, const char* path, int mode, int flags),
          (folder, path, mode, flags))
INTERPOSE(ssize_t, readlink, kind_stat, -1, -1, (const char* path, char* buffer, size_t size),
          (path, buffer, size))
INTERPOSE(ssize_t, readlinkat, kind_stat, -1, -1,
          (int folder, const char* path, char* buffer, size_t size), (folder, path, buffer, size))
INTERPOSE(char*, realpath, kind_stat, -1, NULL, (const char* path, char* resolved),
          (path, resolved))
INTERPOSE(char*, __realpath_chk, kind_stat, -1, NULL,
          (const char* path, char* resolved, size_t size), (path, resolved, size))

INTERPOSE(void*, mmap, kind_mmap, fd, MAP_FAILED,
          (void* at, size_t size, int access, int flags, int fd, off_t offset),
          (at, size, access, flags, fd, offset))
INTERPOSE(void*, mmap64, kind_mmap, fd, MAP_FAILED,
          (void* at, size_t size, int access, int flags, int fd, off64_t offset),
          (at, size, access, flags, fd, offset))
INTERPOSE(int, inotify_init1, kind_inotify, -1, -1, (int flags), (flags))
INTERPOSE(int, inotify_add_watch, kind_inotify, fd, -1, (int fd, const char* path, uint32_t mask),
          (fd, path, mask))
INTERPOSE(int, poll, kind_poll, -1, -1, (struct pollfd * entries, nfds_t count, int timeout),
          (entries, count, timeout))
INTERPOSE(int, ppoll, kind_poll, -1, -1,
          (struct pollfd * entries, nfds_t count, const struct timespec* timeout,
           const sigset_t* mask),
          (entries, count, timeout, mask))
INTERPOSE(int, __poll_chk, kind_poll, -1, -1,
          (struct pollfd * entries, nfds_t count, int timeout, size_t size),
          (entries, count, timeout, size))
INTERPOSE(int, select, kind_poll, -1, -1,
          (int count, fd_set* reads, fd_set* writes, fd_set* others, struct timeval* timeout),
          (count, reads, writes, others, timeout))

EXPORT mqd_t mq_open(const char* name, int flags, ...) {
    NEXT(mq_open)
    mode_t mode = 0;
    struct mq_attr* attributes = NULL;
    if ((flags & O_CREAT) != 0) {
        va_list list;
        va_start(list, flags);
        mode = va_arg(list, mode_t);
        attributes = va_arg(list, struct mq_attr*);
        va_end(list);
    }
    const enum action what = decide(kind_queue, "mq_open", -1);
    if (what == action_fail) {
        return (mqd_t)-1;
    }
    const mqd_t result = next_mq_open(name, flags, mode, attributes);
    if (what == action_kill_after) {
        die();
    }
    return result;
}
INTERPOSE(mqd_t, __mq_open_2, kind_queue, -1, -1, (const char* name, int flags), (name, flags))
INTERPOSE(int, mq_send, kind_queue, -1, -1,
          (mqd_t queue, const char* text, size_t size, unsigned priority),
          (queue, text, size, priority))
INTERPOSE(int, mq_timedsend, kind_queue, -1, -1,
          (mqd_t queue, const char* text, size_t size, unsigned priority,
           const struct timespec* until),
          (queue, text, size, priority, until))
INTERPOSE(ssize_t, mq_receive, kind_queue, -1, -1,
          (mqd_t queue, char* text, size_t size, unsigned* priority), (queue, text, size, priority))
INTERPOSE(ssize_t, mq_timedreceive, kind_queue, -1, -1,
          (mqd_t queue, char* text, size_t size, unsigned* priority, const struct timespec* until),
          (queue, text, size, priority, until))
INTERPOSE(int, mq_getattr, kind_queue, -1, -1, (mqd_t queue, struct mq_attr* attributes),
          (queue, attributes))
INTERPOSE(int, mq_unlink, kind_queue, -1, -1, (const char* name), (name))

INTERPOSE(int, socket, kind_socket, -1, -1, (int domain, int type, int protocol),
          (domain, type, protocol))
INTERPOSE(int, bind, kind_socket, fd, -1, (int fd, const struct sockaddr* address, socklen_t size),
          (fd, address, size))
INTERPOSE(int, listen, kind_socket, fd, -1, (int fd, int count), (fd, count))
INTERPOSE(int, connect, kind_socket, fd, -1,
          (int fd, const struct sockaddr* address, socklen_t size), (fd, address, size))
INTERPOSE(int, accept, kind_socket, fd, -1, (int fd, struct sockaddr* address, socklen_t* size),
          (fd, address, size))
INTERPOSE(int, accept4, kind_socket, fd, -1,
          (int fd, struct sockaddr* address, socklen_t* size, int flags),
          (fd, address, size, flags))
INTERPOSE(int, getsockopt, kind_socket, fd, -1,
          (int fd, int level, int option, void* value, socklen_t* size),
          (fd, level, option, value, size))
INTERPOSE(int, setsockopt, kind_socket, fd, -1,
          (int fd, int level, int option, const void* value, socklen_t size),
          (fd, level, option, value, size))
INTERPOSE(int, shutdown, kind_socket, fd, -1, (int fd, int how), (fd, how))

INTERPOSE(int, pipe2, kind_process, -1, -1, (int ends[2], int flags), (ends, flags))
INTERPOSE(int, pipe, kind_process, -1, -1, (int ends[2]), (ends))
INTERPOSE(FILE*, popen, kind_process, -1, NULL, (const char* command, const char* mode),
          (command, mode))
INTERPOSE(pid_t, fork, kind_process, -1, -1, (void), ())
INTERPOSE(int, execve, kind_process, -1, -1,
          (const char* path, char* const* arguments, char* const* environment),
          (path, arguments, environment))
INTERPOSE(pid_t, waitpid, kind_process, -1, -1, (pid_t pid, int* status, int options),
          (pid, status, options))
INTERPOSE(int, sigaction, kind_process, -1, -1,
          (int number, const struct sigaction* now, struct sigaction* before),
          (number, now, before))

INTERPOSE(int, fchmod, kind_attribute, fd, -1, (int fd, mode_t mode), (fd, mode))
INTERPOSE(int, chmod, kind_attribute, -1, -1, (const char* path, mode_t mode), (path, mode))
INTERPOSE(int, fchown, kind_attribute, fd, -1, (int fd, uid_t user, gid_t group), (fd, user, group))
INTERPOSE(int, chown, kind_attribute, -1, -1, (const char* path, uid_t user, gid_t group),
          (path, user, group))
INTERPOSE(int, futimens, kind_attribute, fd, -1, (int fd, const struct timespec times[2]),
          (fd, times))
INTERPOSE(int, utimensat, kind_attribute, -1, -1,
          (int folder, const char* path, const struct timespec times[2], int flags),
          (folder, path, times, flags))

/* Not through dlsym, which allocates. operator new calls malloc. */
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

#define INTERPOSE_ALLOCATION(name, parameters, call)            \
    EXPORT void* name parameters {                              \
        const enum action what = decide(kind_alloc, #name, -1); \
        if (what == action_fail) {                              \
            errno = ENOMEM;                                     \
            return NULL;                                        \
        }                                                       \
        void* const result = call;                              \
        if (what == action_kill_after) {                        \
            die();                                              \
        }                                                       \
        return result;                                          \
    }

#ifndef DP_FAULTS_WITHOUT_ALLOCATIONS
INTERPOSE_ALLOCATION(malloc, (size_t size), __libc_malloc(size))
INTERPOSE_ALLOCATION(calloc, (size_t count, size_t size), __libc_calloc(count, size))
INTERPOSE_ALLOCATION(realloc, (void* block, size_t size), __libc_realloc(block, size))
INTERPOSE_ALLOCATION(aligned_alloc, (size_t alignment, size_t size),
                     __libc_memalign(alignment, size))
#endif
