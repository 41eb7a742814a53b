#ifndef DP_PLATFORM_DS_FILE_DS_FILE_HPP
#define DP_PLATFORM_DS_FILE_DS_FILE_HPP

#include <cstddef>
#include <string>

#include "common/export.hpp"

/// Replaces one file of the data store: open, write, release. Other processes see the old content
/// until the last byte of the stated size is written, and the new content from then on.
class DP_API ds_file {
  public:
    /// The mode that replaces a whole file.
    static constexpr int mode_replace = 0x1104;

    ds_file() = default;
    ~ds_file();
    ds_file(const ds_file&) = delete;
    ds_file& operator=(const ds_file&) = delete;

    /// Starts to write `size` bytes to the file `name` of the store. The name may contain any bytes
    /// and never refers to a file outside the store. Releases a file that is still open. Greater
    /// than 0 on success, otherwise a negative error number.
    int dsOpenFile(const std::string& name, int mode, std::size_t size);

    /// Writes the next bytes. The last byte of the stated size puts the new content in place.
    /// Returns `size`, or a negative error number; then the file keeps its old content.
    int dsWriteFile(const void* data, std::size_t size);

    /// Ends the writing and silently drops incomplete content. Does nothing when no file is open.
    void dsReleaseFile();

  private:
    int folder_ = -1;
    int file_ = -1;
    std::string name_;
    std::string temporary_;
    std::size_t left_ = 0;
};

#endif
