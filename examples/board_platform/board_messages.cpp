// Messages and the alerts in them, in the layout that the headers document. A board whose receivers
// expect another layout changes it here.
#include <platform/dp/message_formatter.hpp>
#include <platform/fm/message_formatter.hpp>
#include <platform/sysipc/message.hpp>
#include <platform/sysipc/parameter_list.hpp>

#include <algorithm>
#include <ostream>

namespace {

constexpr std::size_t length_offset = 2;
constexpr std::size_t alert_offset = 2;  // in the payload, after the kind

void store_16(unsigned char* to, std::size_t number) {
    to[0] = static_cast<unsigned char>(number & 0xFFU);
    to[1] = static_cast<unsigned char>(number >> 8U & 0xFFU);
}

std::uint16_t load_16(const unsigned char* from) {
    return static_cast<std::uint16_t>(from[0] | from[1] << 8U);
}

// Makes a message an alert with the given parameters, and returns the bytes of these.
std::size_t write_alert(sysipc::message& target, std::uint16_t kind, std::uint16_t alert,
                        std::initializer_list<unsigned char> parameters) {
    target.set_kind(kind);
    store_16(target.payload() + alert_offset, alert);
    sysipc::parameter_list list(target, alert_offset + 2);
    list.add_byte_array(parameters.begin(), parameters.size());
    return list.byte_count();
}

// The alert and the parameter at an offset; 0 when the message is something else.
bool is_alert_of(const sysipc::message& source, std::uint16_t kind, std::size_t parameter_size) {
    return source.kind() == kind && source.payload_length() >= alert_offset + 2 + parameter_size;
}
std::uint16_t alert_of(const sysipc::message& source, bool is_alert) {
    return is_alert ? load_16(source.payload() + alert_offset) : std::uint16_t{0};
}
unsigned char parameter_of(const sysipc::message& source, bool is_alert, std::size_t offset) {
    return is_alert ? source.payload()[alert_offset + 2 + offset] : static_cast<unsigned char>(0);
}

constexpr std::size_t dp_parameters = 2;  // plug-in, value
constexpr std::size_t fm_parameters = 7;  // identifier (4), value, two more

}  // namespace

namespace sysipc {

message::message(std::size_t buffer_size)
    : buffer_(std::clamp<std::size_t>(buffer_size, header_size + kind_size, 65535)) {}

unsigned char message::source() const {
    return buffer_[0];
}
void message::set_source(unsigned char source) {
    buffer_[0] = source;
}
unsigned char message::queue() const {
    return buffer_[1];
}
void message::set_queue(unsigned char queue) {
    buffer_[1] = queue;
}
std::uint16_t message::kind() const {
    return load_16(payload());
}
void message::set_kind(std::uint16_t kind) {
    store_16(payload(), kind);
}
std::size_t message::payload_length() const {
    return load_16(&buffer_[length_offset]);
}
void message::set_payload_length(std::size_t length) {
    store_16(&buffer_[length_offset], std::min(length, payload_capacity()));
}
std::size_t message::payload_capacity() const {
    return buffer_.size() - header_size;
}
unsigned char* message::payload() {
    return &buffer_[header_size];
}
const unsigned char* message::payload() const {
    return &buffer_[header_size];
}
const unsigned char* message::data() const {
    return buffer_.data();
}
std::size_t message::size() const {
    return header_size + payload_length();
}
bool message::assign(const unsigned char* data, std::size_t size) {
    std::fill(buffer_.begin(), buffer_.end(), static_cast<unsigned char>(0));
    if (size < header_size + kind_size || size > buffer_.size() ||
        load_16(data + length_offset) + header_size != size) {
        return false;
    }
    std::copy_n(data, size, buffer_.begin());
    return true;
}

parameter_list::parameter_list(message& target, std::size_t payload_offset)
    : target_(target), offset_(std::min(payload_offset, target.payload_capacity())) {}

bool parameter_list::add_byte_array(const unsigned char* data, std::size_t size) {
    const std::size_t used = offset_ + byte_count_;
    if (size > target_.payload_capacity() - used) {
        return false;
    }
    std::copy_n(data, size, target_.payload() + used);
    byte_count_ += size;
    return true;
}
std::size_t parameter_list::byte_count() const {
    return byte_count_;
}

}  // namespace sysipc

namespace dp {

message_formatter::message_formatter(sysipc::message& target) : target_(target) {}

void message_formatter::send_alert_plugins(command::alerts alert, unsigned char id,
                                           unsigned char value) {
    parameter_byte_count_ =
        write_alert(target_, alert_kind, static_cast<std::uint16_t>(alert), {id, value});
}
std::size_t message_formatter::parameter_byte_count() const {
    return parameter_byte_count_;
}
bool message_formatter::is_alert() const {
    return is_alert_of(target_, alert_kind, dp_parameters);
}
command::alerts message_formatter::alert() const {
    return static_cast<command::alerts>(alert_of(target_, is_alert()));
}
unsigned char message_formatter::id() const {
    return parameter_of(target_, is_alert(), 0);
}
unsigned char message_formatter::value() const {
    return parameter_of(target_, is_alert(), 1);
}
std::ostream& operator<<(std::ostream& os, const message_formatter& formatter) {
    return os << "alert " << static_cast<unsigned>(formatter.alert())
              << " plugin=" << static_cast<unsigned>(formatter.id())
              << " value=" << static_cast<unsigned>(formatter.value());
}

}  // namespace dp

namespace fm {

message_formatter::message_formatter(sysipc::message& target) : target_(target) {}

void message_formatter::send_alert(std::uint32_t id, command::alerts alert, unsigned char value,
                                   unsigned char b1, unsigned char b2) {
    const auto byte = [id](unsigned at) { return static_cast<unsigned char>(id >> at & 0xFFU); };
    parameter_byte_count_ = write_alert(target_, alert_kind, static_cast<std::uint16_t>(alert),
                                        {byte(0), byte(8), byte(16), byte(24), value, b1, b2});
}
std::size_t message_formatter::parameter_byte_count() const {
    return parameter_byte_count_;
}
bool message_formatter::is_alert() const {
    return is_alert_of(target_, alert_kind, fm_parameters);
}
std::uint32_t message_formatter::id() const {
    std::uint32_t number = 0;
    for (unsigned i = 0; i < 4; ++i) {
        number |= static_cast<std::uint32_t>(parameter_of(target_, is_alert(), i)) << 8 * i;
    }
    return number;
}
command::alerts message_formatter::alert() const {
    return static_cast<command::alerts>(alert_of(target_, is_alert()));
}
unsigned char message_formatter::value() const {
    return parameter_of(target_, is_alert(), 4);
}
std::ostream& operator<<(std::ostream& os, const message_formatter& formatter) {
    return os << "alert " << static_cast<unsigned>(formatter.alert())
              << " value=" << static_cast<unsigned>(formatter.value());
}

}  // namespace fm
