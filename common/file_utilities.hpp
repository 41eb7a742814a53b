#ifndef DP_COMMON_FILE_UTILITIES_HPP
#define DP_COMMON_FILE_UTILITIES_HPP

#include <iosfwd>
#include <string>

#include "common/export.hpp"

// File and path utilities, all global functions. None throws for a missing or unreadable file. All
// may be called from several threads except `tempname`, which changes the process's file creation
// mask for a moment.

/// The text before the last '/' or '\'; the whole `path` if it contains neither (the result
/// for a plain name is not "."). The separator is not included: "/a" gives "".
DP_API std::string dirname(const std::string& path);

/// The text after the last '/' or '\'; the whole `path` if it contains neither.
DP_API std::string basename(const std::string& path);

/// Length of the stream in bytes, at most the greatest int; -1 when the stream has none. Leaves the
/// read position unchanged.
DP_API int istrmlength(std::ifstream& in);

/// Modification time in seconds since the epoch, symlinks followed; 0 if the file cannot be
/// examined. The time is cut to 32 bits. After January 2038 it wraps around to negative numbers: it
/// still shows whether a file changed, but not which of two files is older.
DP_API int mtime(const std::string& path);

/// `mtime(a) < mtime(b)`, but compares the whole 64-bit times. A missing file is the oldest.
DP_API bool file_older_than(std::string a, std::string b);

/// `mtime(a) >= mtime(b)`: the opposite of `file_older_than`, so equal times count as newer.
DP_API bool file_newer_than(std::string a, std::string b);

/// Creates `path` if it is missing. Does not change the contents or times of an existing file.
/// Always 0.
DP_API int touch(const char* path);

/// Whether `path` can be opened for reading. A folder counts as not existing.
DP_API bool fileexist(const std::string& path);

/// 1 if both files can be opened and have the same bytes, else 0. Always 0 for a folder.
DP_API int compfile(const std::string& a, const std::string& b);

/// Whether the file is longer than 8 bytes and its first 4 bytes, a little-endian number, count the
/// bytes after an 8-byte header. Nothing else is examined.
DP_API bool isValidEfiFile(const char* path);

/// Creates an empty file of mode 0600, named `dir`/`prefix`_XXXXXX with the X replaced, and returns
/// its name. The caller removes the file. Empty string on failure. A name of 256 bytes or more
/// aborts the process with a line on stderr.
DP_API std::string tempname(const std::string& dir, const std::string& prefix);

/// Copies the bytes of `from` to `to`, which is created or truncated. 0 on success, and also when
/// only `from` cannot be opened (`to` is then empty). 1 on failure, and also when `from` is empty.
DP_API int copyfile(const std::string& from, const std::string& to);

/// Creates the folder `path`, one level, with mode 0600 less the creation mask. 0, or -1.
DP_API int create_dir(const char* path);

/// Waits until `path` exists: tests `tries` + 2 times, with `tries` + 1 pauses of `interval_ms`
/// milliseconds between the tests. False when it still does not exist. A negative `tries` tests
/// once; 0 returns false without a test. Blocks the calling thread in `sysipc::thread::sleep`.
DP_API bool wait_for_file_exists(std::string path, int tries, int interval_ms);

#endif
