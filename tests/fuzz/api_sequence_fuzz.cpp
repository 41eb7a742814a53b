// Sequences of C API calls in any order while the files change, and of calls of a setting's cache,
// which is compared with a plain list.

#include <algorithm>
#include <string>
#include <vector>

#include "bios/dp_api.h"
#include "common/fixed_paths.hpp"
#include "settings/setting.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/fuzzing_root.hpp"
#include "tests/fuzz/input.hpp"
#include "tests/support/template_records.hpp"
#include "tests/support/test_platform.hpp"

namespace {

const char* const collections[] = {"Boot", "Ports", "None", ""};
const char* const names[] = {"Boot.Mode", "Boot.Delay", "Ports.Speed.1", "None.None", "", "."};

std::string settings_text(std::size_t variant) {
    std::string text;
    for (std::size_t i = 0; i < variant % 5; ++i) {
        text += "0 0 t set ";
        text += names[(variant + i) % 6];
        text += " \"v" + std::to_string(variant) + "\" \"\"\n";
    }
    return text;
}

void write_files(std::size_t variant) {
    fuzzing::write_scratch(dp::fixed_paths::uefi_settings.str(), settings_text(variant));
    fuzzing::write_scratch(dp::fixed_paths::uefi_current.str(), settings_text(variant / 2));
    fuzzing::write_scratch(dp::fixed_paths::uefi_configs.str(),
                           variant % 3 == 0 ? "Boot\nPorts\n" : "Ports\n");
    fuzzing::write_scratch(dp::fixed_paths::uefi_info.str(),
                           "id:Mode\x95"
                           "cfg:Boot\x95"
                           "dft:a\x95\xA7\n"
                           "id:Speed\x95"
                           "cfg:Ports\x95"
                           "type:3\x95"
                           "dft:1\x95\xA7\n");
}

// The C API. Results that are not allowed before initialisation are refused.
class api_calls {
  public:
    ~api_calls() { dp_api_uninitialize(); }

    void step(std::size_t what, std::size_t argument) {
        switch (what % 10) {
            case 0:
                fuzzing::require(dp_api_initialize() == 0, "initialize succeeds");
                is_ready_ = true;
                break;
            case 1:
                fuzzing::require(dp_api_uninitialize() == 0, "uninitialize succeeds");
                is_ready_ = false;
                break;
            case 2:
                write_files(argument);
                break;
            case 3: {
                const char** list = nullptr;
                unsigned count = 0;
                check(dp_get_bios_collections(&list, &count), {0});
                break;
            }
            case 4: {
                dp_attribute* list = nullptr;
                unsigned count = 0;
                check(dp_get_bios_attributes(collections[argument % 4], &list, &count), {0, 2});
                break;
            }
            case 5: {
                const char** list = nullptr;
                unsigned count = 0;
                check(dp_get_bios_attribute_names(collections[argument % 4], &list, &count),
                      {0, 2});
                break;
            }
            case 6: {
                dp_attribute* attribute = nullptr;
                check(dp_get_bios_attribute(names[argument % 6], &attribute), {0, 1});
                break;
            }
            case 7: {
                dp_transaction request{};
                request.operation = argument % 7 == 0 ? 2 : 1;
                request.name = names[argument % 6];
                check(dp_get_bios_attribute_value(&request, argument % 5 == 0 ? 0 : 1,
                                                  static_cast<int>(argument % 3)),
                      {0, 1});
                break;
            }
            case 8: {
                dp_transaction request{};
                request.operation = 2;
                request.name = names[argument % 6];
                request.new_value = argument % 2 == 0 ? nullptr : "x";
                // There is no service.
                check(dp_set_bios_attribute_value(&request, 1), {-1});
                break;
            }
            default:
                check(dp_bios_reset_to_defaults(collections[argument % 4]), {2, 3});
                break;
        }
    }

  private:
    void check(int result, std::vector<int> allowed) const {
        if (!is_ready_) {
            allowed = {1};
        }
        fuzzing::require(std::find(allowed.begin(), allowed.end(), result) != allowed.end(),
                         "the result is documented for this state");
    }

    bool is_ready_ = false;
};

// A cache and a list with the same calls.
class cache_calls {
  public:
    void step(std::size_t what, std::size_t argument) {
        const auto instance = static_cast<std::uint32_t>(argument % 40);
        const auto found = std::find_if(model_.begin(), model_.end(), [&](const auto& entry) {
            return entry.instance == instance;
        });
        if (what % 3 == 0) {
            cache_.remove_instance(instance);
            if (found != model_.end()) {
                model_.erase(found);
            }
        } else if (what % 3 == 1) {
            auto* const entry = cache_.find_entry(instance, true);
            entry->value = std::to_string(argument);
            if (found == model_.end()) {
                model_.emplace_back().instance = instance;
                model_.back().value = entry->value;
            } else {
                found->value = entry->value;
            }
        } else if (argument % 16 == 0) {
            class dp::setting::cache copy(cache_);
            cache_ = std::move(copy);
        }
        fuzzing::require((cache_.find_entry(instance, false) != nullptr) ==
                             std::any_of(model_.begin(), model_.end(),
                                         [&](const auto& e) { return e.instance == instance; }),
                         "the cache has the instances of the list");
        fuzzing::require(std::equal(cache_.begin(), cache_.end(), model_.begin(), model_.end(),
                                    [](const auto& a, const auto& b) {
                                        return a.instance == b.instance && a.value == b.value;
                                    }),
                         "the cache has the entries of the list, in its order");
    }

  private:
    class dp::setting::cache cache_;
    std::vector<dp::setting::cache::entry> model_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    test::stepped_time time;
    time.on_sleep = [&](std::uint32_t) { time.sleeps.clear(); };
    fuzzing::empty_folder(fuzzing::scratch_path("/tmp/dp"));
    write_files(0);
    fuzzing::input in(data, size);
    api_calls api;
    cache_calls cache;
    for (int steps = 0; steps < 500 && !in.is_empty(); ++steps) {
        const std::size_t what = in.byte();
        const std::size_t argument = in.byte();
        time.advance(static_cast<std::time_t>(argument % 8));
        if (what >= 128) {
            cache.step(what, argument);
        } else {
            api.step(what, argument);
        }
    }
    return 0;
}
