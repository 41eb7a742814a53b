#ifndef DP_SERVICE_API_VALUES_BACKUPS_HPP
#define DP_SERVICE_API_VALUES_BACKUPS_HPP

#include <string>

/// The files that dp_settingsd keeps beside a file of values, in the same folder. Nothing here
/// follows symlinks or takes locks.
///
///     FILE.backup      the complete file that the last write replaced
///     FILE.damaged-1   the file that was found damaged last
///     FILE.damaged-3   the oldest damaged file that is kept
namespace dp_service::values_backups {

/// Greatest number of damaged files that are kept for one file of values.
inline constexpr unsigned most_damaged = 3;

/// The name of the backup of the file `path`.
std::string backup_of(const std::string& path);

/// The name of a damaged file that was kept for `path`; `number` is 1 for the newest.
std::string damaged_of(const std::string& path, unsigned number);

/// Makes the file `path` its own backup too, as a hard link, so that a rename over `path` keeps it.
/// The previous backup remains until then. False with errno set when that failed.
bool keep_backup(const std::string& path);

/// Keeps `file`, which is the file `path` or its backup, as the newest damaged file; the oldest is
/// removed when there would be too many. `file` remains too, as a hard link, so that no moment is
/// without it; on file systems without hard links it is renamed. Does nothing when it is one of the
/// damaged files already. False with errno set when that failed.
bool keep_damaged(const std::string& path, const std::string& file);

/// Removes the backup and the damaged files of `path`, when another file takes its place that has
/// nothing to do with them.
void discard(const std::string& path);

}  // namespace dp_service::values_backups

#endif
