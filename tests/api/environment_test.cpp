#include <csignal>
#include <cstring>
#include <new>
#include <utility>

#include "api/api_test.h"

namespace {

class environment : public api_test {
protected:
    // The crash handler must not answer for a fault of the test itself.
    void TearDown() override {
        for (const int number : {SIGILL, SIGSEGV, SIGABRT})
            std::signal(number, SIG_DFL);
        api_test::TearDown();
    }

    static VEMRA_APP_STAMP_ENV_HANDLE initialize_with(const char* directory, int length,
                                                      int level = 0) {
        std::string text = directory;
        VEMRA_APP_STAMP_CONFIG config{level, length, text.data()};
        return VemraAppStampEnvInitialize(&config);
    }

    /** The directory that the library reports; its length must agree. */
    static std::string directory_of(VEMRA_APP_STAMP_ENV_HANDLE handle) {
        const stdout_capture unseen;
        VEMRA_APP_STAMP_CONFIG config{-9, -9, nullptr};
        EXPECT_EQ(VemraAppStampEnvGetConfiguration(handle, &config), 1);
        EXPECT_EQ(config.log_level, 0);
        const std::string directory = config.log_directory;
        EXPECT_EQ(config.log_directory_length, static_cast<int>(directory.size()));
        VemraAppStampFreeMemory(config.log_directory);
        return directory;
    }
};

TEST_F(environment, initialize_returns_one_handle_for_ever) {
    const VEMRA_APP_STAMP_ENV_HANDLE handle = VemraAppStampEnvInitialize(nullptr);
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(VemraAppStampEnvInitialize(nullptr), handle);
    EXPECT_EQ(initialize_with("/tmp/stamps", 11), handle);
}

TEST_F(environment, initialize_prints_nothing_and_leaves_the_last_status) {
    EXPECT_EQ(trace([] { VemraAppStampFreeMemory(nullptr); }).size(), 3u);
    EXPECT_EQ(trace([] { initialize_with("/tmp/stamps", 11); }), text_lines{});
    EXPECT_EQ(last_status(), -2);
}

TEST_F(environment, default_directory_has_length_25_and_no_trailing_separator) {
    const std::string directory = directory_of(VemraAppStampEnvInitialize(nullptr));
    EXPECT_EQ(directory, "/var/logs/VEMRA_APP_STAMP");
    EXPECT_EQ(directory.size(), 25u);
}

TEST_F(environment, initialize_replaces_the_directory) {
    EXPECT_EQ(directory_of(initialize_with("/tmp/stamps", 11)), "/tmp/stamps");
    EXPECT_EQ(directory_of(initialize_with("/tmp/others", 11)), "/tmp/others");
    EXPECT_EQ(directory_of(VemraAppStampEnvInitialize(nullptr)), "/tmp/others");
}

TEST_F(environment, initialize_reads_exactly_the_length_that_it_is_given) {
    EXPECT_EQ(directory_of(initialize_with("/tmp/stamps-and-more", 11)), "/tmp/stamps");
}

TEST_F(environment, directory_needs_no_terminator) {
    char directory[] = {'/', 't', 'm', 'p', '/', 'a', 'b'};
    const VEMRA_APP_STAMP_CONFIG config{0, static_cast<int>(sizeof(directory)), directory};
    EXPECT_EQ(directory_of(VemraAppStampEnvInitialize(&config)), "/tmp/ab");
}

TEST_F(environment, length_0_keeps_the_directory) {
    initialize_with("/tmp/stamps", 11);
    EXPECT_EQ(directory_of(initialize_with("/tmp/others", 0)), "/tmp/stamps");
}

TEST_F(environment, negative_length_keeps_the_directory) {
    initialize_with("/tmp/stamps", 11);
    EXPECT_EQ(directory_of(initialize_with("/tmp/others", -11)), "/tmp/stamps");
}

TEST_F(environment, null_directory_keeps_the_directory) {
    initialize_with("/tmp/stamps", 11);
    const VEMRA_APP_STAMP_CONFIG config{0, 11, nullptr};
    EXPECT_EQ(directory_of(VemraAppStampEnvInitialize(&config)), "/tmp/stamps");
}

TEST_F(environment, level_is_ignored) {
    VEMRA_APP_STAMP_CONFIG config{-9, 0, nullptr};
    const VEMRA_APP_STAMP_ENV_HANDLE handle = initialize_with("/tmp/stamps", 11, 5);
    const stdout_capture unseen;
    VemraAppStampEnvGetConfiguration(handle, &config);
    EXPECT_EQ(config.log_level, 0);
    VemraAppStampFreeMemory(config.log_directory);
}

TEST_F(environment, settings_change_nothing_that_is_printed) {
    const text_lines before = trace([] { VemraAppStampGetErrorMessage(0); });
    initialize_with("/nowhere/at/all", 15, 99);
    EXPECT_EQ(trace([] { VemraAppStampGetErrorMessage(0); }), before);
}

TEST_F(environment, get_configuration_traces_its_inputs) {
    const VEMRA_APP_STAMP_ENV_HANDLE handle = VemraAppStampEnvInitialize(nullptr);
    VEMRA_APP_STAMP_CONFIG config{0, 0, nullptr};
    EXPECT_EQ(trace([&] { VemraAppStampEnvGetConfiguration(handle, &config); }),
              text_lines(expected_trace("VemraAppStampEnvGetConfiguration")
                             .verbose("Input `handle`: PTR")
                             .verbose("Input `config`: PTR")));
    const stdout_capture unseen;
    VemraAppStampFreeMemory(config.log_directory);
}

TEST_F(environment, get_configuration_without_handle_is_minus_1_and_writes_nothing) {
    char mark[] = "mark";
    VEMRA_APP_STAMP_CONFIG config{-9, -8, mark};
    int status = 0;
    const text_lines lines =
        trace([&] { status = VemraAppStampEnvGetConfiguration(nullptr, &config); });
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
    EXPECT_EQ(config.log_level, -9);
    EXPECT_EQ(config.log_directory_length, -8);
    EXPECT_EQ(config.log_directory, mark);
    EXPECT_EQ(lines, text_lines(expected_trace("VemraAppStampEnvGetConfiguration")
                                    .verbose("Input `handle`: (nil)")
                                    .verbose("Input `config`: PTR")));
}

TEST_F(environment, get_configuration_without_record_is_minus_2) {
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampEnvGetConfiguration(VemraAppStampEnvInitialize(nullptr), nullptr), -2);
    EXPECT_EQ(last_status(), -2);
}

TEST_F(environment, get_configuration_tests_the_handle_first) {
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampEnvGetConfiguration(nullptr, nullptr), -1);
}

TEST_F(environment, empty_directory_leaves_the_fields_untouched) {
    char mark[] = "mark";
    VEMRA_APP_STAMP_CONFIG config{-9, -8, mark};
    const VEMRA_APP_STAMP_ENV_HANDLE handle = initialize_with("x", 1);
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampEnvGetConfiguration(handle, &config), 1);
    EXPECT_EQ(config.log_level, 0);
    EXPECT_EQ(config.log_directory_length, -8);
    EXPECT_EQ(config.log_directory, mark);
}

TEST_F(environment, directory_is_rendered_anew_from_its_components) {
    const std::pair<const char*, const char*> rows[] = {
        {"/var/log/seals/", "/var/log/seals"},
        {"log//seals", "log//seals"},
        {"/tmp/x", "/tmp"},
        {"log//x", "log//x"},
        {"log//", "log"},
        {"log///", "log//"},
        {"//", "/"},
        {"C:\\logs\\seals", "C:/logs/seals"},
        {"\\\\server\\seals", "\\/server/seals"},
    };
    for (const auto& [set, told] : rows) {
        EXPECT_EQ(directory_of(initialize_with(set, static_cast<int>(std::strlen(set)))), told)
            << set;
    }
}

TEST_F(environment, directory_of_one_character_is_empty) {
    for (const char* set : {"/", "\\", "x"}) {
        VEMRA_APP_STAMP_CONFIG config{-9, -8, nullptr};
        const VEMRA_APP_STAMP_ENV_HANDLE handle = initialize_with(set, 1);
        const stdout_capture unseen;
        EXPECT_EQ(VemraAppStampEnvGetConfiguration(handle, &config), 1);
        EXPECT_EQ(config.log_directory_length, -8) << set;
    }
}

TEST_F(environment, directory_without_memory_is_null_with_its_true_length_and_status_1) {
    char mark[] = "mark";
    VEMRA_APP_STAMP_CONFIG config{-9, -8, mark};
    const VEMRA_APP_STAMP_ENV_HANDLE handle = VemraAppStampEnvInitialize(nullptr);
    const stdout_capture unseen;
    const long before = allocation_faults::live_blocks();
    allocation_faults::fail_nothrow(1);
    const int status = VemraAppStampEnvGetConfiguration(handle, &config);
    const bool has_failed = allocation_faults::fired();
    allocation_faults::stop();
    EXPECT_EQ(allocation_faults::live_blocks(), before);
    EXPECT_TRUE(has_failed);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(config.log_directory, nullptr);
    EXPECT_EQ(config.log_directory_length, 25);
}

TEST_F(environment, initialize_without_memory_throws_and_works_afterwards) {
    std::string directory = "/a directory/of several components/each of them too long to be short";
    const VEMRA_APP_STAMP_CONFIG config{0, static_cast<int>(directory.size()), directory.data()};
    const VEMRA_APP_STAMP_ENV_HANDLE handle = VemraAppStampEnvInitialize(nullptr);
    bool has_fired = true;
    for (int nth = 1; has_fired; ++nth) {
        bool has_thrown = false;
        allocation_faults::fail_throwing(nth);
        try {
            VemraAppStampEnvInitialize(&config);
        } catch (const std::bad_alloc&) {
            has_thrown = true;
        }
        has_fired = allocation_faults::fired();
        allocation_faults::stop();
        ASSERT_EQ(has_thrown, has_fired) << "allocation " << nth;
        ASSERT_TRUE(has_fired || nth > 1);
    }
    EXPECT_EQ(directory_of(handle), directory);
}

TEST_F(environment, uninitialize_without_handle_is_minus_1_and_prints_nothing) {
    int status = 0;
    EXPECT_EQ(trace([&] { status = VemraAppStampEnvUninitialize(nullptr); }), text_lines{});
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
}

TEST_F(environment, uninitialize_is_1_prints_nothing_and_releases_nothing) {
    const VEMRA_APP_STAMP_ENV_HANDLE handle = initialize_with("/tmp/stamps", 11);
    int status = 0;
    EXPECT_EQ(trace([&] { status = VemraAppStampEnvUninitialize(handle); }), text_lines{});
    EXPECT_EQ(status, 1);
    EXPECT_EQ(last_status(), 1);
    EXPECT_EQ(directory_of(handle), "/tmp/stamps");
    EXPECT_EQ(VemraAppStampEnvInitialize(nullptr), handle);
}

TEST_F(environment, no_stamp_function_needs_initialization) {
    add_device_with("Seal&8130");
    const std::string uuid = uuid_of(0);
    std::string name = "New";
    std::string data = "new bytes";
    const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    EXPECT_EQ(listed_names(), text_lines{"Seal"});
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record), 1);
    EXPECT_EQ(VemraAppStampUpdateStamp(bytes_of(uuid), 8, nullptr, &record), 1);
    EXPECT_EQ(VemraAppStampDeleteStamp(bytes_of(uuid), 8, nullptr), 1);
}

TEST_F(environment, two_functions_need_the_handle) {
    const stdout_capture unseen;
    VEMRA_APP_STAMP_CONFIG config{0, 0, nullptr};
    EXPECT_EQ(VemraAppStampEnvGetConfiguration(nullptr, &config), -1);
    EXPECT_EQ(VemraAppStampEnvUninitialize(nullptr), -1);
}

}  // namespace
