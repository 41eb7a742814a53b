#include <malloc.h>
#include <sys/stat.h>
#include <utime.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bios/dp_api.h"
#include "tests/support/template_records.hpp"

// usage: load_attributes COUNT
//
// Reads all attributes, names and values of a server through the C API, and prints the peak size of
// the heap in bytes. Needs an empty folder in $DP_ROOT.

// The functions of the C library that the counting functions below call.
extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* block, std::size_t size);       // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* block);                             // NOLINT(bugprone-reserved-identifier)
}

namespace {

std::size_t heap_now;
std::size_t heap_peak;

void* count_allocation(void* block) {
    heap_now += malloc_usable_size(block);
    heap_peak = std::max(heap_peak, heap_now);
    return block;
}

void count_release(void* block) {
    heap_now -= malloc_usable_size(block);
}

}  // namespace

// Replace the functions of the C library for the program and the library. The program has one
// thread.
extern "C" {
void* malloc(std::size_t size) {
    return count_allocation(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
    return count_allocation(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size) {
    count_release(block);
    return count_allocation(__libc_realloc(block, size));
}
void free(void* block) {
    count_release(block);
    __libc_free(block);
}
}

namespace {

constexpr unsigned collections = 12;

// An enumeration like those of a server's template, about 340 bytes of text.
std::string attribute_text(unsigned number) {
    using test::item;
    const std::string collection = "Collection" + std::to_string(number % collections);
    const std::string id = "AttributeOfTheServer" + std::to_string(number);
    return test::record(
        {item("id", id),
         item("spif", "0"),
         item("grif", "0"),
         item("cfg", collection),
         item("cfgname", "Settings of " + collection),
         item("cfgsetn", id),
         item("grp", "Group"),
         item("gspif", "0"),
         item("ggrif", "0"),
         item("mri", "Attribute number " + id),
         item("dsc", "What the server does when this attribute is on, in a few more words."),
         item("fds", ""),
         item("type", "1"),
         item("flg", "0"),
         item("mni", "0"),
         item("mxi", "0"),
         item("dft", "Enabled"),
         item("mfg", "Enabled"),
         item("dfa", ""),
         item("num", "3"),
         item("chc", "Enabled=Enabled,Disabled=Disabled,Automatic=Automatic")});
}

std::string setting_text(unsigned number) {
    return "0 0 t set Collection" + std::to_string(number % collections) + ".AttributeOfTheServer" +
           std::to_string(number) + " \"Enabled\" \"\"\n";
}

// Writes the files of a server. The template is older than its text, so the client does not run a
// tool.
void make_server(const std::filesystem::path& root, unsigned count) {
    for (const char* folder : {"tmp/dp", "var/dp"}) {
        std::filesystem::create_directories(root / folder);
    }
    const std::string original = root / "var/dp/uefi_template.efi";
    std::ofstream(original) << "template";
    const utimbuf long_ago{1'000'000'000, 1'000'000'000};
    utime(original.c_str(), &long_ago);

    std::ofstream text(root / "tmp/dp/uefi_info.txt");
    std::ofstream settings(root / "var/dp/uefi_settings.txt");
    std::ofstream current(root / "var/dp/uefi_current.txt");
    for (unsigned number = 0; number < count; ++number) {
        text << attribute_text(number);
        settings << setting_text(number);
        current << setting_text(number);
    }
    std::ofstream list(root / "tmp/dp/uefi_configs.txt");
    for (unsigned number = 0; number < collections; ++number) {
        list << "Collection" << number << '\n';
    }
}

// Returns how many attributes have a value in both files, or -1.
int read_all() {
    const char** names = nullptr;
    unsigned name_count = 0;
    if (dp_api_initialize() != 0 || dp_get_bios_collections(&names, &name_count) != 0) {
        return -1;
    }
    int found = 0;
    for (unsigned i = 0; i < name_count; ++i) {
        dp_attribute* attributes = nullptr;
        const char** instances = nullptr;
        unsigned attribute_count = 0;
        unsigned instance_count = 0;
        if (dp_get_bios_attributes(names[i], &attributes, &attribute_count) != 0 ||
            dp_get_bios_attribute_names(names[i], &instances, &instance_count) != 0 ||
            attribute_count != instance_count) {
            return -1;
        }
        for (unsigned k = 0; k < instance_count; ++k) {
            dp_transaction request{};
            request.operation = 1;
            request.name = instances[k];
            if (dp_get_bios_attribute_value(&request, 1, 0) == 0 &&
                dp_get_bios_attribute_value(&request, 1, 1) == 0 &&
                std::string(request.value) == attributes[k].dft) {
                ++found;
            }
        }
    }
    return found;
}

}  // namespace

int main(int argc, char** argv) {
    const char* root = std::getenv("DP_ROOT");
    const unsigned long count = argc == 2 ? std::strtoul(argv[1], nullptr, 10) : 0;
    if (root == nullptr || count == 0 || count > 1'000'000) {
        std::fputs("usage: DP_ROOT=FOLDER load_attributes COUNT\n", stderr);
        return 2;
    }
    make_server(root, static_cast<unsigned>(count));
    const std::size_t before = heap_now;
    heap_peak = heap_now;
    const int found = read_all();
    if (found < 0 || static_cast<unsigned long>(found) != count) {
        std::fprintf(stderr, "load_attributes: %d of %lu attributes have the expected values\n",
                     found, count);
        return 1;
    }
    std::printf("%zu\n", heap_peak - before);
    return dp_api_uninitialize();
}
