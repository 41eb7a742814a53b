// The diagnostic log. This one writes errors to standard error; a board passes the lines on to its
// own log, and lets `mask` return what that has enabled.
#include <platform/sysipc/application_log.hpp>
#include <platform/sysipc/event_log.hpp>

#include <cstdio>

namespace {

class board_log final : public sysipc::event_log::streams {
  public:
    void append(const std::string& level, const std::string& text) override {
        std::fprintf(stderr, "%s%s\n", level.c_str(), text.c_str());
    }
    [[nodiscard]] std::uint32_t mask() const override {
        return sysipc::event_log::log_level::error;
    }
    [[nodiscard]] std::int32_t file() const override { return 0; }
    [[nodiscard]] std::uint32_t level() const override { return 0; }
};

board_log the_log;

}  // namespace

// Null would be a process without a log.
sysipc::event_log::streams* sysipc::application_log::app_streams = &the_log;
