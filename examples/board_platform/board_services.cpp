// What connects the library to the board's own services. A board fills in its calls; until then
// there are no queues, no data store and no compressed files, which the library is prepared for:
// alerts are not sent, logs in the data store are not written, and every file is read as plain
// text.
#include <platform/ds_file/ds_file.hpp>
#include <platform/sysipc/efi_decompressor.hpp>
#include <platform/sysipc/message.hpp>
#include <platform/sysipc/system_message_queue.hpp>
#include <platform/sysipc/system_message_queue_client.hpp>
#include <platform/sysipc/thread.hpp>

#include <cerrno>
#include <ctime>

namespace sysipc {

void thread::sleep(std::uint32_t milliseconds) {
    timespec left{static_cast<std::time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (nanosleep(&left, &left) == -1 && errno == EINTR) {
    }
}

// Opens the board's queue `number` for sending, if a process receives from it.
system_message_queue::system_message_queue(unsigned char /*number*/, unsigned /*flags*/) {}

system_message_queue::~system_message_queue() = default;

bool system_message_queue::is_open() const {
    return handle_ >= 0;
}
int system_message_queue::handle() const {
    return handle_;
}

// Sends `content.size()` bytes from `content.data()` to the queue without waiting. False when that
// failed, as it does as long as no queue is open.
bool system_message_queue_client::send(const system_message_queue& /*queue*/,
                                       const message& /*content*/) {
    return false;
}

// Returns the expanded bytes, or none when the data is not in the board's compressed form.
std::vector<unsigned char> efi_decompressor::decompress(std::istream& /*in*/) {
    return {};
}

}  // namespace sysipc

ds_file::~ds_file() {
    dsReleaseFile();
}

// Greater than 0 when the file is open, otherwise a negative error number.
int ds_file::dsOpenFile(const std::string& /*name*/, int /*mode*/, std::size_t /*size*/) {
    return -ENOSYS;
}

int ds_file::dsWriteFile(const void* /*data*/, std::size_t /*size*/) {
    return -ENOSYS;
}

void ds_file::dsReleaseFile() {}
