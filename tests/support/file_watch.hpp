#ifndef DP_TESTS_SUPPORT_FILE_WATCH_HPP
#define DP_TESTS_SUPPORT_FILE_WATCH_HPP

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>

namespace test {

/// Records how any process uses the files of a few folders.
class file_watch {
  public:
    explicit file_watch(std::initializer_list<std::string> folders);
    ~file_watch();
    file_watch(const file_watch&) = delete;
    file_watch& operator=(const file_watch&) = delete;

    /// False if the kernel does not report uses.
    [[nodiscard]] bool works() const { return works_; }

    struct uses {
        unsigned opened = 0;  ///< consecutive openings without another event count as one
        unsigned read = 0;    ///< openings after which the file was read
        bool operator==(const uses&) const = default;
    };
    /// The uses since the last call, by file name.
    std::map<std::string, uses> take();

  private:
    int file_;
    bool works_;
};

/// The bytes that this process has read so far, from files and elsewhere; -1 if the kernel does not
/// report them. Sets `own` to the bytes that this call reads; they are counted from the next call
/// on.
std::int64_t bytes_read(std::int64_t& own);

}  // namespace test

#endif
