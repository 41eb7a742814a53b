#include "bios/dp_api.h"

#include <cxxabi.h>

#include <new>
#include <stdexcept>

#include "bios/cim_helper.hpp"
#include "transactions/command_status.hpp"

namespace {

constexpr int failed = 1;
constexpr int unknown_collection = 2;
constexpr int reset_failed = 3;

// The service, or null. Owned, but not by an object with a destructor: functions that run at the
// program's exit may still use and uninitialise the service.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
constinit dp::cim_helper* service = nullptr;

void refuse_null(const char* collection) {
    if (collection == nullptr) {
        throw std::logic_error("null collection name");
    }
}

// Runs `call` with the service. No exception may reach a C caller: after one, returns `on_error()`.
template <class Call, class OnError>
int guarded(Call call, OnError on_error) {
    try {
        return call(*service);
    } catch (const abi::__forced_unwind&) {
        throw;  // The thread is being cancelled, which must not be stopped.
    } catch (...) {
        return on_error();
    }
}

template <class Call>
int guarded(Call call) {
    return guarded(call, [] { return failed; });
}

// Runs `call` with the service when it has the collection.
template <class Call>
int query(const char* collection, Call call) {
    if (service == nullptr) {
        return failed;
    }
    refuse_null(collection);
    return guarded([&](dp::cim_helper& helper) {
        if (helper.is_valid_collection(collection) == 0) {
            return unknown_collection;
        }
        call(helper);
        return 0;
    });
}

// Sets an output that may be null.
template <class Value>
void set_output(Value* output, Value value) {
    if (output != nullptr) {
        *output = value;
    }
}

void set_every_status(dp_transaction* trans, unsigned count, std::int32_t status) {
    for (unsigned i = 0; trans != nullptr && i < count; ++i) {
        trans[i].status = static_cast<std::uint32_t>(status);
    }
}

}  // namespace

int dp_api_initialize() {
    if (service == nullptr) {
        service = new (std::nothrow) dp::cim_helper;
        if (service == nullptr) {
            return failed;
        }
        dp::cim_helper::init();
    }
    return 0;
}

int dp_api_uninitialize() {
    delete service;
    service = nullptr;
    return 0;
}

int dp_get_bios_collections(const char*** names, unsigned* count) {
    if (service == nullptr) {
        return failed;
    }
    return guarded([&](dp::cim_helper& helper) {
        const char** list = helper.get_config_names();
        set_output(names, list);
        set_output(count, static_cast<unsigned>(helper.get_config_count()));
        return 0;
    });
}

int dp_get_bios_attributes(const char* collection, dp_attribute** attrs, unsigned* count) {
    return query(collection, [&](dp::cim_helper& helper) {
        dp_attribute* list = helper.get_attributes(collection);
        set_output(attrs, list);
        set_output(count, helper.get_attributes_count(collection));
    });
}

int dp_get_bios_attribute_names(const char* collection, const char*** names, unsigned* count) {
    return query(collection, [&](dp::cim_helper& helper) {
        const char** list = helper.get_attribute_names(collection);
        set_output(names, list);
        set_output(count, helper.get_attribute_names_count(collection));
    });
}

int dp_get_bios_attribute(const char* name, dp_attribute** attr) {
    if (service == nullptr) {
        return failed;
    }
    dp_attribute* found = nullptr;
    const int result = guarded([&](dp::cim_helper& helper) {
        found = helper.get_attribute(name);
        return found != nullptr ? 0 : failed;
    });
    set_output(attr, found);
    return result;
}

int dp_get_bios_attribute_value(dp_transaction* trans, unsigned count, int which) {
    if (service == nullptr) {
        return failed;
    }
    return guarded(
        [&](dp::cim_helper& helper) {
            return helper.get_bios_attribute_value(trans, count, which);
        },
        [&] {
            set_every_status(trans, count, dp::command_status::not_run);
            return static_cast<int>(count);
        });
}

int dp_set_bios_attribute_value(dp_transaction* trans, unsigned count) {
    if (service == nullptr) {
        return failed;
    }
    return guarded(
        [&](dp::cim_helper& helper) { return helper.set_bios_attribute_value(trans, count); },
        [&] {
            set_every_status(trans, count, dp::command_status::not_run);
            return -1;
        });
}

int dp_bios_need_reinit(const char* collection) {
    if (service == nullptr) {
        return failed;
    }
    refuse_null(collection);
    return guarded([&](dp::cim_helper& helper) { return helper.need_reinit(collection); });
}

int dp_bios_reset_to_defaults(const char* collection) {
    if (service == nullptr) {
        return failed;
    }
    refuse_null(collection);
    return guarded([&](dp::cim_helper& helper) { return helper.reset_to_defaults(collection); },
                   [] { return reset_failed; });
}

void dp_cim_change_template_fname(const char* fname) {
    if (fname != nullptr) {
        dp::cim_helper::dp_api_template_fname = fname;
    }
}

void dp_cim_change_settings_fname(const char* fname) {
    if (fname != nullptr) {
        dp::cim_helper::dp_api_settings_fname[0] = fname;
    }
}

void dp_cim_change_current_fname(const char* fname) {
    if (fname != nullptr) {
        dp::cim_helper::dp_api_settings_fname[1] = fname;
    }
}
