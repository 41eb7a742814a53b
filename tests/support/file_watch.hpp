#ifndef DP_TESTS_SUPPORT_FILE_WATCH_HPP
#define DP_TESTS_SUPPORT_FILE_WATCH_HPP

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>

namespace test {

/// What happens to the files of a few folders, by whatever process.
class file_watch {
  public:
    explicit file_watch(std::initializer_list<std::string> folders);
    ~file_watch();
    file_watch(const file_watch&) = delete;
    file_watch& operator=(const file_watch&) = delete;

    /// False where the kernel does not tell.
    [[nodiscard]] bool works() const { return works_; }

    struct uses {
        unsigned opened = 0;  ///< openings of a file that nothing parts from each other are one
        unsigned read = 0;    ///< openings behind which the file was read
        bool operator==(const uses&) const = default;
    };
    /// By the files' names, since the last call.
    std::map<std::string, uses> take();

  private:
    int file_;
    bool works_;
};

/// Bytes that this process has read so far, from files and elsewhere; -1 where the kernel does not
/// tell. What this call reads counts from the next one on; `own` is set to it.
std::int64_t bytes_read(std::int64_t& own);

}  // namespace test

#endif
