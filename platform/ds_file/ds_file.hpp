#ifndef DP_PLATFORM_DS_FILE_DS_FILE_HPP
#define DP_PLATFORM_DS_FILE_DS_FILE_HPP

#include <cstddef>
#include <string>

#include "common/export.hpp"

/// One file of the data store, while it is written: open, write, release. Others see the old
/// content until the last of the stated bytes is written, and from then on the new one.
class DP_API ds_file {
  public:
    /// The mode of a file that is replaced as a whole.
    static constexpr int mode_replace = 0x1104;

    ds_file() = default;
    ~ds_file();
    ds_file(const ds_file&) = delete;
    ds_file& operator=(const ds_file&) = delete;

    /// Starts to write the file `name` of the store, `size` bytes. The name may hold any bytes; it
    /// never leads out of the store. A file that is still open is released first. Greater than 0 on
    /// success, otherwise a negative error number.
    int dsOpenFile(const std::string& name, int mode, std::size_t size);

    /// Writes the next bytes; with the last of the size that was stated the content is in place.
    /// How many bytes it took, all of them, or a negative error number; then the file stays as it
    /// was before.
    int dsWriteFile(const void* data, std::size_t size);

    /// Ends the writing; content that is not complete is dropped. Does nothing when no file is
    /// open.
    void dsReleaseFile();

  private:
    int folder_ = -1;
    int file_ = -1;
    std::string name_;
    std::string temporary_;
    std::size_t left_ = 0;
};

#endif
