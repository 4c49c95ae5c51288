#include "model/reference_mapping.h"

#include <gtest/gtest.h>

using namespace reference_mapping;

namespace {

std::string _record(const std::string& body) {
    return std::string{static_cast<char>(body.size() + 5), '\0', '\0', '\0', '\x01'} + body;
}

mapping _stamps(const std::string& body) {
    return read(_record(body)).stamps;
}

std::vector<std::string> _reports(const std::string& record) {
    return read(record).reports;
}

}  // namespace

TEST(reference_mapping, reads_entries_in_any_order) {
    EXPECT_EQ(_stamps("A&8130||B&8131"), (mapping{{8130, "A"}, {8131, "B"}}));
    EXPECT_EQ(_stamps("B&8131||A&8130"), (mapping{{8130, "A"}, {8131, "B"}}));
    EXPECT_EQ(_stamps(""), mapping{});
}

TEST(reference_mapping, reports_entries_without_two_fields) {
    const auto of = [](const std::string& entry) {
        return std::vector<std::string>{"Bad stamp info: " + entry + ", skip it."};
    };
    EXPECT_EQ(_reports(_record("8130")), of("8130"));
    EXPECT_EQ(_reports(_record("&8130")), of("&8130"));
    EXPECT_EQ(_reports(_record("A&8130|x")), of(""));
    EXPECT_EQ(_reports(_record({'8', '\0', '1'})), of("8"));
    EXPECT_EQ(_reports(_record("A&8130||||B&8131")), std::vector<std::string>{});
}

TEST(reference_mapping, reports_headers_that_are_short_or_lie) {
    const auto of = [](const std::string& fault) {
        return std::vector<std::string>{"Bad stamp info header: " + fault};
    };
    EXPECT_EQ(_reports(""), std::vector<std::string>{});
    EXPECT_EQ(_reports("\x05"), of("only 1 bytes present, skip it."));
    EXPECT_EQ(_reports(std::string("\x04\0\0\0\x01", 5)), of("total length 4, skip it."));
    EXPECT_EQ(_reports(std::string("\x05\x01\0\0\x01", 5)),
              of("total length 261, only 5 bytes present."));
}

TEST(reference_mapping, keeps_the_quirks_of_fields_and_digits) {
    EXPECT_EQ(_stamps("A&&8130"), (mapping{{8130, "A"}}));
    EXPECT_EQ(_stamps("A&"), (mapping{{0, "A"}}));
    EXPECT_EQ(_stamps("A&8130&x"), (mapping{{8130, "A"}}));
    EXPECT_EQ(_stamps("A&8130||B&8130"), (mapping{{8130, "B"}}));
    EXPECT_EQ(_stamps("A&81x0"), (mapping{{8820, "A"}}));
    EXPECT_EQ(_stamps("A&-12"), (mapping{{288, "A"}}));
}

TEST(reference_mapping, reads_no_further_than_header_and_bytes_allow) {
    const std::string record = _record("A&8130");
    EXPECT_EQ(read(record + "||B&8131").stamps, (mapping{{8130, "A"}}));
    EXPECT_EQ(read(record.substr(0, 10)).stamps, (mapping{{813, "A"}}));
    EXPECT_EQ(read(std::string(4, '\xff')).stamps, mapping{});
    EXPECT_EQ(read(std::string(9, '\0')).stamps, mapping{});
}

TEST(reference_mapping, writes_header_and_entries) {
    EXPECT_EQ(write({}), std::string("\x05\0\0\0\x01", 5));
    EXPECT_EQ(write({{8130, "A"}, {8131, "Seal 2"}}),
              std::string("\x18\0\0\0\x01", 5) + "A&8130||Seal 2&8131");
}
