#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "bios/dp_api.h"
#include "platform/posix/efi_compressor.hpp"
#include "tests/support/file_watch.hpp"
#include "tests/unit/bios/bios_service.hpp"

// The files that a client opens when it starts: none before the first query, then each file once.

namespace {

constexpr unsigned attributes = 360;

using files = std::map<std::string, test::file_watch::uses>;
constexpr test::file_watch::uses once{1, 1};
constexpr test::file_watch::uses locked_once{1, 0};
constexpr test::file_watch::uses locked_twice{2, 0};

std::string name_of(unsigned number) {
    return "Boot.Attribute" + std::to_string(number);
}

std::ptrdiff_t thread_count() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

bool has_children() {
    return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

class dp_api_start : public test::bios_service {
  protected:
    dp_api_start() {
        std::string info;
        for (unsigned i = 0; i < attributes; ++i) {
            info += test::attribute("Boot", "Attribute" + std::to_string(i), "Enabled");
            settings += test::setting(name_of(i), "Enabled");
        }
        write_aged(template_file, "template", 100);
        write_aged(configs_file, "Boot\n", 10);
        write_aged(build_id_file, "ID\n", 10);
        write_aged(info_file, info, 10);
        write_aged(settings_file, dp_platform::efi_compress(settings), 10);
        write_aged(current_file, dp_platform::efi_compress(settings), 10);
    }

    void SetUp() override {
        std::int64_t own = 0;
        if (!watch.works() || test::bytes_read(own) < 0) {
            GTEST_SKIP() << "this kernel does not report which files are read";
        }
    }

    static std::int64_t size(const std::string& path) {
        return static_cast<std::int64_t>(std::filesystem::file_size(path));
    }

    /// How `work` used the files; sets `bytes` to the number of bytes that it read.
    template <class Work>
    files uses_of(Work work) {
        std::int64_t own = 0;
        watch.take();
        const std::int64_t before = test::bytes_read(own);
        work();
        std::int64_t unused = 0;
        bytes = test::bytes_read(unused) - before - own;
        return watch.take();
    }

    static std::vector<dp_transaction> requests(const std::vector<std::string>& names) {
        std::vector<dp_transaction> list;
        for (const std::string& name : names) {
            list.push_back(test::request(1, name.c_str()));
        }
        return list;
    }

    static int read_attributes() {
        dp_attribute* list = nullptr;
        unsigned count = 0;
        return dp_get_bios_attributes("Boot", &list, &count) == 0 && count == attributes ? 0 : 1;
    }

    static int read_names() {
        const char** names = nullptr;
        unsigned count = 0;
        return dp_get_bios_attribute_names("Boot", &names, &count) == 0 && count == attributes ? 0
                                                                                               : 1;
    }

    static int read_values(int which) {
        std::vector<std::string> names;
        for (unsigned i = 0; i < attributes; ++i) {
            names.push_back(name_of(i));
        }
        std::vector<dp_transaction> list = requests(names);
        return dp_get_bios_attribute_value(list.data(), attributes, which);
    }

    std::string settings;
    std::int64_t bytes = 0;
    test::file_watch watch{test::root() + "/bin", test::root() + "/tmp", test::root() + "/tmp/dp",
                           test::root() + "/var/dp"};
};

TEST_F(dp_api_start, initialize_opens_reads_and_starts_nothing) {
    // The first query would run the tool, which writes the texts again.
    test::write_script(dpspy, "exit 1");
    write_aged(template_file, "newer", 1);
    const std::ptrdiff_t threads = thread_count();
    EXPECT_EQ(uses_of([] { ASSERT_EQ(dp_api_initialize(), 0); }), files());
    EXPECT_EQ(bytes, 0);
    EXPECT_EQ(uses_of([] { ASSERT_EQ(dp_api_initialize(), 0); }), files());
    EXPECT_EQ(bytes, 0);
    EXPECT_FALSE(has_children());
    EXPECT_EQ(thread_count(), threads);

    // The watch does notice a query.
    const files used = uses_of([] { ASSERT_EQ(read_attributes(), 0); });
    EXPECT_EQ(used.count("dpspy"), 1U);
    EXPECT_GE(bytes, size(info_file));
}

TEST_F(dp_api_start, uninitialize_opens_and_reads_nothing) {
    dp_api_initialize();
    ASSERT_EQ(read_attributes(), 0);
    EXPECT_EQ(uses_of([] { dp_api_uninitialize(); }), files());
    EXPECT_EQ(bytes, 0);
}

TEST_F(dp_api_start, the_first_query_for_attributes_reads_each_file_once) {
    dp_api_initialize();
    EXPECT_EQ(uses_of([] { ASSERT_EQ(read_attributes(), 0); }),
              (files{{"uefi_configs.txt", once},
                     {"uefi.bld", once},
                     {"uefi_info.txt", once},
                     {"uefi_template.efi", locked_twice}}));
    EXPECT_EQ(bytes, size(configs_file) + size(build_id_file) + size(info_file));
}

TEST_F(dp_api_start, the_first_query_for_names_reads_each_file_once) {
    dp_api_initialize();
    EXPECT_EQ(uses_of([] { ASSERT_EQ(read_names(), 0); }),
              (files{{"uefi_configs.txt", once},
                     {"uefi.bld", once},
                     {"uefi_settings.txt", once},
                     {"uefi_template.efi", locked_once}}));
    EXPECT_EQ(bytes, size(configs_file) + size(build_id_file) + size(settings_file));
}

TEST_F(dp_api_start, the_first_query_for_values_reads_their_file_once) {
    dp_api_initialize();
    EXPECT_EQ(uses_of([] { ASSERT_EQ(read_values(0), 0); }), (files{{"uefi_settings.txt", once}}));
    EXPECT_EQ(bytes, size(settings_file));
    EXPECT_EQ(uses_of([] { ASSERT_EQ(read_values(1), 0); }), (files{{"uefi_current.txt", once}}));
    EXPECT_EQ(bytes, size(current_file));
}

TEST_F(dp_api_start, only_the_start_of_a_plain_text_is_read_twice) {
    // The first bytes show whether it is an image; a stream reads them with its whole buffer.
    constexpr std::int64_t buffer = 8192;
    test::write_file(settings_file, settings);
    ASSERT_GT(size(settings_file), buffer);
    dp_api_initialize();
    EXPECT_EQ(uses_of([] { ASSERT_EQ(read_values(0), 0); }), (files{{"uefi_settings.txt", once}}));
    EXPECT_LE(bytes, size(settings_file) + buffer);
}

TEST_F(dp_api_start, bytes_after_the_build_id_are_not_read) {
    constexpr std::int64_t buffers = 16384;
    write_aged(build_id_file, "ID\n" + std::string(1'000'000, 'x'), 10);
    dp_api_initialize();
    EXPECT_EQ(uses_of([] { ASSERT_EQ(read_attributes(), 0); }).count("uefi.bld"), 1U);
    EXPECT_LE(bytes, size(configs_file) + size(info_file) + buffers);
}

TEST_F(dp_api_start, repeated_queries_read_nothing) {
    dp_api_initialize();
    const auto query = [] {
        ASSERT_EQ(read_attributes(), 0);
        ASSERT_EQ(read_names(), 0);
        ASSERT_EQ(read_values(0), 0);
        ASSERT_EQ(read_values(1), 0);
    };
    query();
    EXPECT_EQ(uses_of(query), files());
    EXPECT_EQ(bytes, 0);
    // Later queries check the files' times, which opens nothing either.
    time.advance(10);
    EXPECT_EQ(uses_of(query), files());
    EXPECT_EQ(bytes, 0);
}

}  // namespace
