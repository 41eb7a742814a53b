#ifndef DP_COMMON_FILE_UTILITIES_HPP
#define DP_COMMON_FILE_UTILITIES_HPP

#include <iosfwd>
#include <string>

#include "common/export.hpp"

// File and path utilities. They are global functions, none of them throws for a missing or
// unreadable file, and all may be called from several threads except `tempname`, which changes the
// process's file creation mask for a moment.

/// The text before the last '/' or '\'; the whole `path` if it holds neither (a plain name has no
/// "." for its folder). The separator is not included: "/a" gives "".
DP_API std::string dirname(const std::string& path);

/// The text after the last '/' or '\'; the whole `path` if it holds neither.
DP_API std::string basename(const std::string& path);

/// Length of the stream in bytes, at most the greatest int; -1 when the stream has none. The read
/// position is left where it was.
DP_API int istrmlength(std::ifstream& in);

/// Modification time in seconds since the epoch, links followed; 0 if the file can't be examined.
/// The time is cut to 32 bits: past January 2038 it wraps around to negative numbers, so it then
/// tells whether a file changed, but not which of two is older.
DP_API int mtime(const std::string& path);

/// `mtime(a) < mtime(b)`, of the whole times also past January 2038; a missing file is the oldest.
DP_API bool file_older_than(std::string a, std::string b);

/// `mtime(a) >= mtime(b)`: the opposite of `file_older_than`, so equal times count as newer.
DP_API bool file_newer_than(std::string a, std::string b);

/// Creates `path` if it is missing. Contents and times of an existing file stay. Always 0.
DP_API int touch(const char* path);

/// Whether `path` can be opened for reading. A folder counts as not existing.
DP_API bool fileexist(const std::string& path);

/// 1 if both files open and hold the same bytes, else 0; folders never do.
DP_API int compfile(const std::string& a, const std::string& b);

/// Whether the file is longer than 8 bytes and its first four, a little-endian number, count the
/// bytes behind an 8-byte header. Nothing else is examined.
DP_API bool isValidEfiFile(const char* path);

/// Creates an empty file of mode 0600, named `dir`/`prefix`_XXXXXX with the X replaced, and returns
/// its name; the caller removes it. Empty string on failure. A name of 256 bytes or more ends the
/// process with a line on stderr.
DP_API std::string tempname(const std::string& dir, const std::string& prefix);

/// Copies the bytes of `from` over `to` (created or truncated). 0 on success, also when `from`
/// can't be opened but `to` can (`to` is then empty); 1 on failure, also when `from` is empty.
DP_API int copyfile(const std::string& from, const std::string& to);

/// Makes the folder `path` with mode 0600 (one level; the creation mask applies). 0, or -1.
DP_API int create_dir(const char* path);

/// Waits until `path` exists: tests `tries` + 2 times with `tries` + 1 pauses of `interval_ms`
/// milliseconds in between. False when given up, and at once, without a test, when `tries` is 0. A
/// negative `tries` tests once. Blocks the calling thread through `sysipc::thread::sleep`.
DP_API bool wait_for_file_exists(std::string path, int tries, int interval_ms);

#endif
