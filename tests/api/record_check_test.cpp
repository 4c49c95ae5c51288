// What appending and updating ask of the record that they are given: the same.

#include <ostream>

#include "api/api_test.h"

namespace {

struct writer {
    const char* name;
    std::string function;
    /** How many inputs it traces. */
    int inputs;
    int (*write)(const std::string& uuid, const VEMRA_APP_STAMP_RECORD* stamp);
    /** Where the stamp goes when "Old" is in 8130, and the entries that it leaves. */
    int slot;
    std::string other_entries;
};

std::ostream& operator<<(std::ostream& out, const writer& one) {
    return out << one.name;
}

int _append(const std::string&, const VEMRA_APP_STAMP_RECORD* stamp) {
    return VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, stamp);
}

int _update(const std::string& uuid, const VEMRA_APP_STAMP_RECORD* stamp) {
    return VemraAppStampUpdateStamp(bytes_of(uuid), 8, nullptr, stamp);
}

class record_check : public api_test, public ::testing::WithParamInterface<writer> {
protected:
    void SetUp() override {
        add_device_with("Old&8130");
        uuid = uuid_of(0);
        fake.clear_calls();
    }

    int write() {
        const stdout_capture unseen;
        return GetParam().write(uuid, stamp);
    }

    /** A bad record: its line and status, and no call of the device library. */
    void expect_refusal(const std::string& message, int expected_status) {
        const std::string& function = GetParam().function;
        int status = -99;
        const text_lines lines = trace([&] { status = GetParam().write(uuid, stamp); });
        EXPECT_EQ(status, expected_status);
        EXPECT_EQ(lines.front(), verbose_line(function, ">>>> " + function));
        EXPECT_EQ(text_lines(lines.begin() + 1 + GetParam().inputs, lines.end()),
                  (text_lines{error_line(function, message),
                              verbose_line(function, "<<<< " + function)}));
        const stdout_capture unseen;
        EXPECT_EQ(VemraAppStampGetLastError(), expected_status);
        EXPECT_EQ(fake.calls(), text_lines{});
    }

    std::string uuid;
    std::string name = "Seal";
    std::string data = "new bytes";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    const VEMRA_APP_STAMP_RECORD* stamp = &record;
};

TEST_P(record_check, no_stamp_is_minus_2) {
    stamp = nullptr;
    expect_refusal("Bad stamp.", -2);
}

TEST_P(record_check, a_type_that_is_none_is_minus_1_with_the_type) {
    for (const int bad : {2, -1, 77}) {
        record.type = bad;
        expect_refusal("Bad stamp type: " + std::to_string(bad) + ".", -1);
    }
}

TEST_P(record_check, null_data_is_minus_1) {
    record.data = nullptr;
    expect_refusal("Bad stamp data.", -1);
}

TEST_P(record_check, data_length_0_is_minus_1) {
    record.data_length = 0;
    expect_refusal("Bad stamp size.", -1);
}

TEST_P(record_check, null_name_is_minus_1) {
    record.name = nullptr;
    expect_refusal("Bad stamp name.", -1);
}

TEST_P(record_check, name_length_0_is_minus_1) {
    record.name_length = 0;
    expect_refusal("Bad stamp name.", -1);
}

TEST_P(record_check, takes_exactly_the_length_of_a_name_without_terminator) {
    char unterminated[] = {'a', 'b', 'c'};
    record.name = unterminated;
    record.name_length = 2;
    EXPECT_EQ(write(), 1);
    EXPECT_EQ(fake.slot(8127),
              mapping_record(GetParam().other_entries + "ab&" + std::to_string(GetParam().slot)));
}

TEST_P(record_check, reads_only_the_first_five_fields) {
    record.reserved = &record;
    record.own_device = &name;
    EXPECT_EQ(write(), 1);
    EXPECT_EQ(record.reserved, &record);
    EXPECT_EQ(record.own_device, &name);
}

TEST_P(record_check, takes_the_low_32_bits_of_a_length) {
    record.data_length = (1ULL << 32) + 3;
    EXPECT_EQ(write(), 1);
    EXPECT_EQ(fake.slot(GetParam().slot), "new");
}

TEST_P(record_check, hands_a_length_of_two_gibibytes_on_as_a_negative_count) {
    record.data_length = 1ULL << 31;
    EXPECT_EQ(write(), 0);
    const std::string create =
        "VemraPKICryptoCreateData(SN-1, " + std::to_string(GetParam().slot) + ", 04 01 03 07, ";
    EXPECT_EQ(fake.calls_of(create).front(), create + "-2147483648)");
    EXPECT_EQ(fake.slot(8127), mapping_record("Old&8130"));
}

TEST_P(record_check, leaves_nothing_allocated) {
    const stdout_capture unseen;
    const long before = allocation_faults::live_blocks();
    GetParam().write(uuid, stamp);
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(after, before);
}

INSTANTIATE_TEST_SUITE_P(
    , record_check,
    ::testing::Values(writer{"append", "VemraAppStampAppendStamp", 5, _append, 8131, "Old&8130||"},
                      writer{"update", "VemraAppStampUpdateStamp", 4, _update, 8130, ""}),
    [](const auto& tested) { return tested.param.name; });

}  // namespace
