#include "tools/dpctl/output/alert_text.hpp"

#include <cstddef>
#include <cstring>
#include <sstream>

#include "logs/alerts.hpp"
#include "platform/dp/message_formatter.hpp"
#include "platform/fm/message_formatter.hpp"
#include "platform/sysipc/message.hpp"
#include "service_api/service_alerts.hpp"
#include "support/hexadecimal.hpp"

namespace dpctl {
namespace {

// The greatest value in an alert; it also represents any greater value.
constexpr int greatest_value = 255;

// An alert's name, the first word of the platform's text; "alert 77" for a number.
template <class Formatter>
std::string name_of(const Formatter& formatter) {
    std::ostringstream shown;
    shown << formatter;
    std::string name = shown.str().substr(0, shown.str().find(' '));
    const bool is_number = name.find_first_not_of("0123456789") == std::string::npos;
    return is_number ? "alert " + name : name;
}

std::string at_least(int value) {
    return std::to_string(value) + (value == greatest_value ? " or more" : "");
}

std::string meaning_of(dp::command::alerts alert, int value) {
    if (alert == dp_service::service_alerts::batch_set_aside) {
        return "a batch was not run: nobody waited for its answer, or it could not be answered";
    }
    if (alert == dp_service::service_alerts::changed_by_dependency) {
        return at_least(value) + " of them because others changed; dpctl history has the causes";
    }
    switch (alert) {
        case dp::command::alerts::settings_changed:
            return at_least(value) + (value == 1 ? " setting changed" : " settings changed");
        case dp::command::alerts::persist_failed:
            return std::string("settings could not be saved: ") + std::strerror(value);
        case dp::command::alerts::bios_updated:
            return "the template was replaced";
        case dp::command::alerts::server_restarted:
            return "pending values became current";
    }
    return {};
}

std::string meaning_of(fm::command::alerts alert) {
    switch (alert) {
        case fm::command::alerts::bios_updated:
            return "the template was replaced";
        case fm::command::alerts::server_restarted:
            return "pending values became current";
    }
    return {};
}

// A message of neither formatter.
void decode_other(const sysipc::message& content, alert_text& alert) {
    alert.from = "source " + std::to_string(content.source());
    alert.what = "kind " + std::to_string(alert.kind);
    const unsigned char* const parameters = content.payload() + sysipc::message::kind_size;
    const std::size_t length = content.payload_length();
    const std::size_t count =
        length > sysipc::message::kind_size ? length - sysipc::message::kind_size : 0;
    if (alert.kind == dp::application_alert::detailed_kind && count == 2) {
        alert.detail = parameters[0];
        alert.value = parameters[1];
    } else if (alert.kind == dp::application_alert::plain_kind && count == 1) {
        alert.value = parameters[0];
    } else {
        alert.payload = dp_support::hexadecimal_digits({parameters, count});
    }
}

}  // namespace

alert_text read_alert(int queue, sysipc::message& content) {
    alert_text alert;
    alert.queue = queue;
    alert.kind = content.kind();
    const dp::message_formatter plugin(content);
    const fm::message_formatter service(content);
    if (plugin.is_alert()) {
        alert.from = "plugin " + std::to_string(plugin.id());
        alert.what = name_of(plugin);
        alert.value = plugin.value();
        alert.meaning = meaning_of(plugin.alert(), plugin.value());
    } else if (service.is_alert()) {
        alert.from = service.id() == 0 ? "service" : "service " + std::to_string(service.id());
        alert.what = name_of(service);
        alert.value = service.value();
        alert.meaning = meaning_of(service.alert());
    } else {
        decode_other(content, alert);
    }
    return alert;
}

std::string to_line(const alert_text& alert) {
    std::string line =
        "queue " + std::to_string(alert.queue) + "  " + alert.from + "  " + alert.what;
    if (alert.detail) {
        line += "  detail " + std::to_string(*alert.detail);
    }
    if (alert.value) {
        line += "  value " + std::to_string(*alert.value);
    }
    if (!alert.payload.empty()) {
        line += "  bytes " + alert.payload;
    }
    return alert.meaning.empty() ? line : line + "  (" + alert.meaning + ')';
}

dp_support::json_value to_json(const alert_text& alert) {
    auto result = dp_support::json_value::object({{"queue", alert.queue},
                                                  {"kind", alert.kind},
                                                  {"from", alert.from},
                                                  {"alert", alert.what}});
    if (alert.detail) {
        result.set("detail", *alert.detail);
    }
    if (alert.value) {
        result.set("value", *alert.value);
    }
    if (!alert.payload.empty()) {
        result.set("bytes", alert.payload);
    }
    if (!alert.meaning.empty()) {
        result.set("meaning", alert.meaning);
    }
    return result;
}

}  // namespace dpctl
