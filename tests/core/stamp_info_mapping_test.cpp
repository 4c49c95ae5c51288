#include "core/stamp_info_mapping.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "support/allocation_faults.h"
#include "support/stream_capture.h"

using vemra::app::stamp::_encode_stamp_info_mapping;
using vemra::app::stamp::_parse_stamp_info_mapping;
using vemra::app::stamp::stamp_info_mapping;

namespace {

using lines_t = std::vector<std::string>;

constexpr std::size_t header_length = 5;

template <std::size_t length>
std::string bytes(const char (&literal)[length]) {
    return std::string(literal, length - 1);
}

// The bytes in a block of exactly their size, where the address sanitizer sees a read beyond it.
stamp_info_mapping parse(const std::string& record) {
    const std::unique_ptr<unsigned char[]> block(new unsigned char[record.size()]);
    std::memcpy(block.get(), record.data(), record.size());
    return _parse_stamp_info_mapping(block.get(), record.size());
}

// A record with a right header before `body`, which is short.
std::string record_of(const std::string& body) {
    return static_cast<char>(body.size() + header_length) + bytes("\0\0\0\x01") + body;
}

std::string error_line(const std::string& message) {
    return " [ERROR]    [_parse_stamp_info_mapping] " + message +
           " (src/core/stamp_info_mapping.cpp:N)";
}

lines_t skipped(const std::vector<std::string>& entries) {
    lines_t lines;
    for (const std::string& entry : entries) {
        lines.push_back(error_line("Bad stamp info: " + entry + ", skip it."));
    }
    return lines;
}

// What a number beyond those of int is as a slot.
constexpr int slot(unsigned int number) {
    return static_cast<int>(number);
}

struct encoding {
    stamp_info_mapping mapping;
    std::string record;
};

TEST(stamp_info_mapping, encodes_to_these_bytes) {
    const encoding table[] = {
        {{}, bytes("\x05\0\0\0\x01")},
        {{{8130, "A"}},
         bytes("\x0b\0\0\0\x01"
               "A&8130")},
        {{{8130, "A"}, {8131, "Seal 2"}},
         bytes("\x18\0\0\0\x01"
               "A&8130||Seal 2&8131")},
        {{{8131, "B"}, {8130, "A"}},
         bytes("\x13\0\0\0\x01"
               "A&8130||B&8131")},
        {{{0, "zero"}},
         bytes("\x0b\0\0\0\x01"
               "zero&0")},
        {{{slot(4294967295U), "m"}},
         bytes("\x11\0\0\0\x01"
               "m&4294967295")},
        {{{slot(2147483648U), "u"}},
         bytes("\x11\0\0\0\x01"
               "u&2147483648")},
        {{{8130, "\xe5\x8d\xb0"}},
         bytes("\x0d\0\0\0\x01"
               "\xe5\x8d\xb0&8130")},
        // Nothing is escaped and nothing is refused.
        {{{8130, ""}},
         bytes("\x0a\0\0\0\x01"
               "&8130")},
        {{{8130, "a&b||c"}},
         bytes("\x10\0\0\0\x01"
               "a&b||c&8130")},
    };
    for (const encoding& row : table) {
        EXPECT_EQ(_encode_stamp_info_mapping(row.mapping), row.record);
    }
}

TEST(stamp_info_mapping, encodes_the_total_length_little_endian) {
    EXPECT_EQ(_encode_stamp_info_mapping({{8130, std::string(300, 'n')}}).substr(0, 5),
              bytes("\x36\x01\0\0\x01"));
    EXPECT_EQ(_encode_stamp_info_mapping({{8130, std::string(70000, 'n')}}).substr(0, 5),
              bytes("\x7a\x11\x01\0\x01"));
    EXPECT_EQ(_encode_stamp_info_mapping({{8130, std::string(0x1000000, 'n')}}).substr(0, 5),
              bytes("\x0a\0\0\x01\x01"));
}

TEST(stamp_info_mapping, encodes_zero_bytes_in_names) {
    EXPECT_EQ(_encode_stamp_info_mapping({{8130, bytes("a\0b")}}), bytes("\x0d\0\0\0\x01"
                                                                         "a\0b&8130"));
}

TEST(stamp_info_mapping, encoding_logs_nothing) {
    const stdout_capture captured;
    _encode_stamp_info_mapping({{8130, "a&b"}});
    EXPECT_EQ(captured.text(), "");
}

struct parsing {
    std::string body;
    stamp_info_mapping mapping;
    std::vector<std::string> skipped_entries;
};

void expect_parsed(const std::vector<parsing>& table) {
    for (const parsing& row : table) {
        SCOPED_TRACE(testing::PrintToString(row.body));
        const stdout_capture captured;
        const stamp_info_mapping mapping = parse(record_of(row.body));
        EXPECT_EQ(mapping, row.mapping);
        EXPECT_EQ(captured.normalised(), skipped(row.skipped_entries));
    }
}

TEST(stamp_info_mapping, reads_entries_between_bars) {
    expect_parsed({
        {"", {}, {}},
        {"A&8130", {{8130, "A"}}, {}},
        {"A&8130||B&8131", {{8130, "A"}, {8131, "B"}}, {}},
        {"B&8131||A&8130", {{8130, "A"}, {8131, "B"}}, {}},
        {"A&8130||||B&8131", {{8130, "A"}, {8131, "B"}}, {}},
        {"||A&8130", {{8130, "A"}}, {}},
        {"A&8130||", {{8130, "A"}}, {}},
        {"||", {}, {}},
        {"||||", {}, {}},
        {"Seal 2&8131", {{8131, "Seal 2"}}, {}},
        {"\xe5\x8d\xb0&8130", {{8130, "\xe5\x8d\xb0"}}, {}},
        {"A|B&8130", {{8130, "A|B"}}, {}},
        {"|A&8130", {{8130, "|A"}}, {}},
        {"A&8130|||B&8131", {{8130, "A"}, {8131, "|B"}}, {}},
    });
}

TEST(stamp_info_mapping, reads_the_first_two_parts_of_an_entry) {
    expect_parsed({
        {"A&&8130", {{8130, "A"}}, {}},
        {"&A&8130", {{8130, "A"}}, {}},
        {"A&8130&x", {{8130, "A"}}, {}},
        {"A&8130&", {{8130, "A"}}, {}},
        {"A&8130&8131&8132", {{8130, "A"}}, {}},
        {"A&", {{0, "A"}}, {}},
        {"A&&", {{0, "A"}}, {}},
        {"&A&", {{0, "A"}}, {}},
    });
}

TEST(stamp_info_mapping, takes_the_last_name_of_a_slot) {
    expect_parsed({{"A&8130||B&8130", {{8130, "B"}}, {}}});
}

TEST(stamp_info_mapping, skips_entries_of_fewer_than_two_parts) {
    expect_parsed({
        {"8130", {}, {"8130"}},
        {"&8130", {}, {"&8130"}},
        {"&", {}, {"&"}},
        {"&&", {}, {"&&"}},
        {"x", {}, {"x"}},
        {"xy", {}, {"xy"}},
        {"bad||A&8130||worse", {{8130, "A"}}, {"bad", "worse"}},
        {"A&8130||&8131", {{8130, "A"}}, {"&8131"}},
    });
}

// Kept(lone-bar): a bar and another byte at the end add an empty entry, which is then a bad one.
TEST(stamp_info_mapping, adds_an_empty_entry_after_a_bar_and_another_byte) {
    expect_parsed({
        {"|x", {}, {"|x", ""}},
        {"A&8130||x", {{8130, "A"}}, {"x", ""}},
        {"A&8130|x", {{813832, "A"}}, {""}},
        {"A|&8", {{8, "A|"}}, {}},
        {"a|b|c", {}, {"a|b|c", ""}},
    });
}

TEST(stamp_info_mapping, adds_no_entry_when_the_body_is_too_short_for_one) {
    expect_parsed({
        {"|", {}, {"|"}},
        {"a", {}, {"a"}},
        {"|||", {}, {"|"}},
    });
}

TEST(stamp_info_mapping, adds_no_entry_after_a_bar_at_the_very_end) {
    expect_parsed({{"A&8130|", {{81376, "A"}}, {}}, {"a|", {}, {"a|"}}});
}

TEST(stamp_info_mapping, reads_slots_by_the_digit_rule_and_rejects_nothing) {
    expect_parsed({
        {"A&0", {{0, "A"}}, {}},
        {"A&007", {{7, "A"}}, {}},
        {"A&4294967295", {{slot(4294967295U), "A"}}, {}},
        {"A&4294967296", {{0, "A"}}, {}},
        {"A&4294967297", {{1, "A"}}, {}},
        {"A&12884901888", {{0, "A"}}, {}},
        {"A&81x0", {{8820, "A"}}, {}},                // x counts as 72
        {"A&-12", {{288, "A"}}, {}},                  // "-" counts as -3, and is subtracted
        {"A&-", {{3, "A"}}, {}},                      //
        {"A&--", {{33, "A"}}, {}},                    //
        {"A&-9", {{21, "A"}}, {}},                    //
        {"A&1-2", {{72, "A"}}, {}},                   // further in it is added
        {"A&+5", {{slot(4294967251U), "A"}}, {}},     // below "0": wraps
        {"A& 5", {{slot(4294967141U), "A"}}, {}},     //
        {"A&5 ", {{34, "A"}}, {}},                    //
        {"A&a", {{49, "A"}}, {}},                     //
        {"A&\xff", {{207, "A"}}, {}},                 // bytes count as unsigned
        {"A&\xc3\xa9", {{1591, "A"}}, {}},            //
        {"A&-\xff", {{slot(4294967119U), "A"}}, {}},  //
    });
}

TEST(stamp_info_mapping, keeps_zero_bytes_of_names) {
    const stdout_capture captured;
    EXPECT_EQ(parse(record_of(bytes("a\0b&8130"))), (stamp_info_mapping{{8130, bytes("a\0b")}}));
    EXPECT_EQ(captured.text(), "");
}

TEST(stamp_info_mapping, shows_a_bad_entry_up_to_its_first_zero_byte) {
    const stdout_capture captured;
    parse(record_of(bytes("ab\0cd")));
    EXPECT_EQ(captured.normalised(), skipped({"ab"}));
}

TEST(stamp_info_mapping, ignores_the_version) {
    const stdout_capture captured;
    EXPECT_EQ(parse(bytes("\x0b\0\0\0\0"
                          "A&8130")),
              (stamp_info_mapping{{8130, "A"}}));
    EXPECT_EQ(parse(bytes("\x0b\0\0\0\xff"
                          "A&8130")),
              (stamp_info_mapping{{8130, "A"}}));
    EXPECT_EQ(captured.text(), "");
}

TEST(stamp_info_mapping, reads_a_total_length_of_more_than_one_byte) {
    const std::string name(300, 'n');
    EXPECT_EQ(parse(bytes("\x36\x01\0\0\x01") + name + "&8130"),
              (stamp_info_mapping{{8130, name}}));
}

TEST(stamp_info_mapping, no_bytes_are_an_empty_mapping_without_a_word) {
    const stdout_capture captured;
    EXPECT_TRUE(_parse_stamp_info_mapping(nullptr, 0).empty());
    EXPECT_EQ(captured.text(), "");
}

struct malformed {
    std::string record;
    stamp_info_mapping mapping;
    std::string message;
};

TEST(stamp_info_mapping, malformed_header_is_one_error_line) {
    const char* const too_short = "Bad stamp info header: total length 4, skip it.";
    const malformed table[] = {
        {bytes("\x0b"), {}, "Bad stamp info header: only 1 bytes present, skip it."},
        {bytes("\x0b\0"), {}, "Bad stamp info header: only 2 bytes present, skip it."},
        {bytes("\x0b\0\0"), {}, "Bad stamp info header: only 3 bytes present, skip it."},
        {bytes("\x0b\0\0\0"), {}, "Bad stamp info header: only 4 bytes present, skip it."},
        {bytes("\0\0\0\0\x01"
               "A&8130"),
         {},
         "Bad stamp info header: total length 0, skip it."},
        {bytes("\x04\0\0\0\x01"
               "A&8130"),
         {},
         too_short},
        {bytes("\x0c\0\0\0\x01"
               "A&8130"),
         {{8130, "A"}},
         "Bad stamp info header: total length 12, only 11 bytes present."},
        {bytes("\xff\xff\xff\xff\x01"
               "A&8130"),
         {{8130, "A"}},
         "Bad stamp info header: total length 4294967295, only 11 bytes present."},
        {bytes("\0\0\0\x80\x01"
               "A&8130"),
         {{8130, "A"}},
         "Bad stamp info header: total length 2147483648, only 11 bytes present."},
        {bytes("\x06\0\0\0\x01"),
         {},
         "Bad stamp info header: total length 6, only 5 bytes present."},
    };
    for (const malformed& row : table) {
        SCOPED_TRACE(row.message);
        const stdout_capture captured;
        EXPECT_EQ(parse(row.record), row.mapping);
        EXPECT_EQ(captured.normalised(), lines_t{error_line(row.message)});
    }
}

TEST(stamp_info_mapping, header_wins_over_further_bytes) {
    const stdout_capture captured;
    EXPECT_EQ(parse(bytes("\x0b\0\0\0\x01"
                          "A&8130||B&8131")),
              (stamp_info_mapping{{8130, "A"}}));
    EXPECT_EQ(parse(bytes("\x05\0\0\0\x01"
                          "A&8130")),
              stamp_info_mapping{});
    EXPECT_EQ(parse(bytes("\x0a\0\0\0\x01"
                          "A&8130")),
              (stamp_info_mapping{{813, "A"}}));
    EXPECT_EQ(captured.text(), "");
}

TEST(stamp_info_mapping, parsing_the_record_of_an_empty_mapping_gives_an_empty_mapping) {
    const stdout_capture captured;
    EXPECT_TRUE(parse(bytes("\x05\0\0\0\x01")).empty());
    EXPECT_EQ(captured.text(), "");
}

TEST(stamp_info_mapping, any_bytes_are_safe_to_read) {
    const stdout_capture captured;
    std::mt19937 random(20240101);
    const std::string alphabet = bytes("&&&|||-0189x\xff\0");
    for (int i = 0; i < 5000; ++i) {
        std::string record(random() % 24, '\0');
        for (char& byte : record)
            byte = alphabet[random() % alphabet.size()];
        if (record.size() > 3) record.replace(1, 3, 3, '\0');
        EXPECT_NO_THROW(parse(record)) << testing::PrintToString(record);
    }
}

std::string clean_name(std::mt19937& random) {
    const std::string alphabet = bytes("ab|-0\xff\0 ");
    std::string name(1 + random() % 40, 'n');
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char byte = alphabet[random() % alphabet.size()];
        // Bars stand alone, and not at the start, where one would join those of the separator.
        if (byte != '|' || (i > 0 && name[i - 1] != '|')) name[i] = byte;
    }
    return name;
}

TEST(stamp_info_mapping, comes_back_from_its_record_when_its_names_are_clean) {
    const stdout_capture captured;
    std::mt19937 random(20240102);
    for (int i = 0; i < 1000; ++i) {
        stamp_info_mapping mapping;
        for (auto n = random() % 6; n > 0; --n) {
            mapping[static_cast<int>(random())] = clean_name(random);
        }
        EXPECT_EQ(parse(_encode_stamp_info_mapping(mapping)), mapping);
    }
    EXPECT_EQ(captured.text(), "");
}

TEST(stamp_info_mapping, loses_names_that_are_not_clean) {
    const stdout_capture captured;
    EXPECT_EQ(parse(_encode_stamp_info_mapping({{8130, ""}})), stamp_info_mapping{});
    EXPECT_EQ(parse(_encode_stamp_info_mapping({{8130, "a&b"}})), (stamp_info_mapping{{50, "a"}}));
    EXPECT_EQ(parse(_encode_stamp_info_mapping({{8130, "a||b"}})),
              (stamp_info_mapping{{8130, "b"}}));
}

TEST(stamp_info_mapping, leaves_nothing_behind_when_memory_fails) {
    const std::string name(100, 'n');
    const std::string record = bytes("\x73\0\0\0\x01") + name + "&8130||B&8";
    const auto* start = reinterpret_cast<const unsigned char*>(record.data());
    const long before = allocation_faults::live_blocks();
    for (int nth = 1;; ++nth) {
        allocation_faults::fail_throwing(nth);
        bool has_thrown = false;
        try {
            _parse_stamp_info_mapping(start, record.size());
        } catch (const std::bad_alloc&) {
            has_thrown = true;
        }
        const bool has_fired = allocation_faults::fired();
        allocation_faults::stop();
        ASSERT_EQ(has_thrown, has_fired) << "allocation " << nth;
        ASSERT_EQ(allocation_faults::live_blocks(), before) << "allocation " << nth;
        if (!has_fired) break;
    }
}

}  // namespace
