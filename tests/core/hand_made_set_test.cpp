// The exported functions over sets that no enumeration makes, and over mutexes that fail.

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <system_error>
#include <vector>

#include "core/environment.h"
#include "core/image_stamp.h"
#include "core/stamp_device_map.h"
#include "core/stamp_set.h"
#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "support/lock_watch.h"
#include "support/stream_capture.h"
#include "vemra_app_stamp.h"

using namespace vemra::app::stamp;

namespace {

using lines_t = std::vector<std::string>;
using uuid_t = std::basic_string<unsigned char>;

const uuid_t known_uuid = {0x00, 0xff, 0x10};

// A stamp of any type.
class other_stamp : public basic_stamp {
public:
    explicit other_stamp(int type) : basic_stamp(type_t(type), plain, known_uuid) {
        name_ = "other";
    }
    uuid_t encode(format_t) const override { return data_; }
};

class hand_made_set : public testing::Test {
protected:
    void SetUp() override { make_known(std::make_shared<vemra::crypto::device>()); }
    void TearDown() override {
        g_stamp_device_map.clear();
        EXPECT_EQ(fake.live_devices(), 0);
    }

    static void make_known(std::shared_ptr<vemra::crypto::device> owner) {
        g_stamp_device_map.put(
            known_uuid, std::make_shared<stamp_device_map::item>(std::move(owner), 8130, "seal"));
    }
    VEMRA_APP_STAMP_SET_HANDLE handle() {
        return reinterpret_cast<VEMRA_APP_STAMP_SET_HANDLE>(&set);
    }
    int get_first() { return VemraAppStampGetStamp(handle(), 0, &uuid, &uuid_size, &record); }
    // The one error line of taking out `stamp`, which fails with status 0.
    lines_t errors_of(std::shared_ptr<basic_stamp> stamp) {
        set.push_back(std::move(stamp));
        const stdout_capture captured;
        EXPECT_EQ(get_first(), 0);
        EXPECT_EQ(VemraAppStampGetLastError(), 0);
        EXPECT_EQ(uuid, nullptr);
        EXPECT_EQ(record, nullptr);
        return captured.error_lines();
    }
    static lines_t error(const std::string& message) {
        return {" [ERROR]    [VemraAppStampGetStamp] " + message +
                " (src/core/VEMRA_APP_STAMP.cpp:N)"};
    }
    // The type of the record of a stamp of an internal type.
    int public_type_of(int type) {
        const stdout_capture captured;
        set.push_back(std::make_shared<other_stamp>(type));
        EXPECT_EQ(get_first(), 1);
        const int public_type = record->type;
        VemraAppStampFreeMemory(uuid);
        VemraAppStampFreeMemory(record->name);
        VemraAppStampFreeStamp(record);
        return public_type;
    }

    fake_device_library fake;
    stamp_set set;
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
};

TEST_F(hand_made_set, internal_type_1_is_reported_as_0) {
    EXPECT_EQ(public_type_of(1), 0);
}

TEST_F(hand_made_set, internal_type_2_is_reported_as_1) {
    EXPECT_EQ(public_type_of(2), 1);
}

TEST_F(hand_made_set, any_other_internal_type_is_reported_as_minus_1) {
    EXPECT_EQ(public_type_of(3), -1);
}

TEST_F(hand_made_set, internal_type_0_is_reported_as_minus_1) {
    EXPECT_EQ(public_type_of(0), -1);
}

TEST_F(hand_made_set, empty_stamp_reference_is_a_failure) {
    EXPECT_EQ(errors_of(nullptr), error("Invalid pointer of stamp."));
}

TEST_F(hand_made_set, stamp_without_a_uuid_is_a_failure) {
    EXPECT_EQ(errors_of(std::make_shared<image_stamp>("seal", uuid_t(), "a", 1)),
              error("No uuid in this stamp."));
}

TEST_F(hand_made_set, stamp_whose_uuid_is_not_known_is_a_failure) {
    g_stamp_device_map.clear();
    EXPECT_EQ(errors_of(std::make_shared<image_stamp>("seal", known_uuid, "a", 1)),
              error("Unable to get the own device of stamp 0."));
}

TEST_F(hand_made_set, stamp_whose_device_is_not_known_is_a_failure) {
    make_known(nullptr);
    EXPECT_EQ(errors_of(std::make_shared<image_stamp>("seal", known_uuid, "a", 1)),
              error("Unable to get the own device of stamp 0."));
}

TEST_F(hand_made_set, stamp_without_a_name_is_a_failure_that_releases_everything) {
    set.push_back(std::make_shared<image_stamp>("", known_uuid, "bytes", 5));
    const stdout_capture captured;
    const long before = allocation_faults::live_blocks();
    EXPECT_EQ(get_first(), 0);
    EXPECT_EQ(allocation_faults::live_blocks(), before);
    EXPECT_EQ(captured.error_lines(), error("Bad stamp name."));
}

// What the record of a stamp tells of its device. The outputs are 7 and null when none is written.
class hand_made_owner : public hand_made_set {
protected:
    void ask_device_of_first() {
        set.push_back(std::make_shared<image_stamp>("seal", known_uuid, "a", 1));
        const stdout_capture captured;
        ASSERT_EQ(get_first(), 1);
        status = VemraAppStampGetStampOwnDevice(record, &serial, &length, &type);
        last_status = VemraAppStampGetLastError();
        errors = captured.error_lines();
        VemraAppStampFreeMemory(uuid);
        VemraAppStampFreeMemory(record->name);
        VemraAppStampFreeStamp(record);
    }
    static lines_t owner_error(const std::string& message) {
        return {" [ERROR]    [VemraAppStampGetStampOwnDevice] " + message +
                " (src/core/VEMRA_APP_STAMP.cpp:N)"};
    }
    bool outputs_are_untouched() const { return serial == nullptr && length == 7 && type == 7; }

    int status = 7;
    int last_status = 7;
    lines_t errors;
    char* serial = nullptr;
    unsigned int length = 7;
    int type = 7;
};

TEST_F(hand_made_owner, without_an_open_handle_is_minus_1_and_is_not_asked) {
    make_known(std::make_shared<vemra::crypto::device>(nullptr, false));
    ask_device_of_first();
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status, -1);
    EXPECT_EQ(errors, owner_error("No own device."));
    EXPECT_TRUE(outputs_are_untouched());
    EXPECT_EQ(fake.calls_of("VemraPKICryptoGetSerialNumber"), lines_t{});
}

TEST_F(hand_made_owner, whose_mutex_fails_is_0_and_writes_nothing) {
    const auto owner = std::make_shared<vemra::crypto::device>();
    make_known(owner);
    lock_watch watch(*owner);
    watch.fail_with(EINVAL);
    ask_device_of_first();
    EXPECT_EQ(status, 0);
    EXPECT_EQ(errors, owner_error("Unable to get device info from this stamp, because: Invalid "
                                  "argument."));
    EXPECT_TRUE(outputs_are_untouched());
}

// A device with slots, whose slot 8130 has the known uuid.
class hand_made_entry : public hand_made_set {
protected:
    void SetUp() override {
        fake.add_device("SN-1", 3);
        make_known(vemra::crypto::device::get_all_devices(-1, 0).front());
    }

    static int update() {
        unsigned char bytes[] = {'a'};
        char name[] = "renamed";
        const VEMRA_APP_STAMP_RECORD content = {1, 7, 1, bytes, name, nullptr, nullptr};
        return VemraAppStampUpdateStamp(known_uuid.data(), 3, nullptr, &content);
    }
    static int remove() { return VemraAppStampDeleteStamp(known_uuid.data(), 3, nullptr); }
};

TEST_F(hand_made_entry, keeps_device_slot_and_old_name_when_its_stamp_is_written) {
    const stdout_capture unseen;
    const auto before = g_stamp_device_map.get(known_uuid);
    EXPECT_EQ(update(), 1);
    EXPECT_EQ(g_stamp_device_map.get(known_uuid), before);
    EXPECT_EQ(before->get_name(), "seal");
    EXPECT_EQ(before->get_data_id(), 8130);
    EXPECT_EQ(remove(), 1);
    EXPECT_EQ(g_stamp_device_map.get(known_uuid), before);
}

// The exception leaves the exported function, and its exit line is printed all the same.
template <typename Call>
void expect_system_error(const char* function, Call call) {
    const stdout_capture captured;
    EXPECT_THROW(call(), std::system_error);
    const std::string name = function;
    EXPECT_EQ(captured.lines().back(), " [VERBOSE]  [" + name + "] <<<< " + name);
}

TEST_F(hand_made_set, count_passes_the_error_of_a_mutex_on) {
    unsigned int count = 7;
    lock_watch watch(set);
    watch.fail_with(EINVAL);
    expect_system_error("VemraAppStampGetStampCount",
                        [&] { VemraAppStampGetStampCount(handle(), &count); });
    EXPECT_EQ(count, 7U);
}

TEST_F(hand_made_set, get_passes_the_error_of_a_mutex_of_the_set_on) {
    lock_watch watch(set);
    watch.fail_with(EINVAL);
    expect_system_error("VemraAppStampGetStamp", [&] { get_first(); });
}

TEST_F(hand_made_set, get_passes_the_error_of_a_mutex_of_the_map_on) {
    set.push_back(std::make_shared<image_stamp>("seal", known_uuid, "a", 1));
    lock_watch watch(g_stamp_device_map);
    watch.fail_with(EINVAL);
    expect_system_error("VemraAppStampGetStamp", [&] { get_first(); });
}

TEST_F(hand_made_entry, update_passes_the_error_of_a_mutex_of_the_map_on) {
    lock_watch watch(g_stamp_device_map);
    watch.fail_with(EINVAL);
    expect_system_error("VemraAppStampUpdateStamp", [] { update(); });
}

TEST_F(hand_made_entry, delete_passes_the_error_of_a_mutex_of_the_map_on) {
    lock_watch watch(g_stamp_device_map);
    watch.fail_with(EINVAL);
    expect_system_error("VemraAppStampDeleteStamp", [] { remove(); });
}

TEST_F(hand_made_entry, listing_tells_the_error_of_a_mutex_of_the_map_by_a_line_alone) {
    fake.fill_slot(8127, std::string("\x0e\0\0\0\x01Seal&8130", 14));
    const stdout_capture captured;
    VEMRA_APP_STAMP_SET_HANDLE listed = nullptr;
    {
        lock_watch watch(g_stamp_device_map);
        watch.fail_with(EINVAL);
        EXPECT_NO_THROW(listed = VemraAppStampGetAllStamps(-1, nullptr, 0, -1));
        EXPECT_EQ(watch.count(), 1);
    }
    EXPECT_NE(listed, nullptr);
    EXPECT_EQ(captured.error_lines().size(), 1U);
    VemraAppStampFreeStamps(listed);
}

TEST_F(hand_made_set, initialize_passes_the_error_of_a_mutex_on) {
    char directory[] = "/tmp/elsewhere";
    const VEMRA_APP_STAMP_CONFIG config = {0, 14, directory};
    {
        lock_watch watch(environment::instance());
        watch.fail_with(EINVAL);
        EXPECT_THROW(VemraAppStampEnvInitialize(&config), std::system_error);
    }
    for (const int number : {SIGILL, SIGSEGV, SIGABRT})
        std::signal(number, SIG_DFL);
    EXPECT_EQ(std::string(environment::instance().get_log_directory()),
              "/var/logs/VEMRA_APP_STAMP");
}

TEST_F(hand_made_set, configuration_passes_the_error_of_a_mutex_on) {
    VEMRA_APP_STAMP_CONFIG config = {};
    lock_watch watch(environment::instance());
    watch.fail_with(EINVAL);
    expect_system_error("VemraAppStampEnvGetConfiguration", [&] {
        VemraAppStampEnvGetConfiguration(
            reinterpret_cast<VEMRA_APP_STAMP_ENV_HANDLE>(&environment::instance()), &config);
    });
}

}  // namespace
