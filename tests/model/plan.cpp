#include "model/plan.h"

#include <array>
#include <sstream>

namespace {

const std::array<std::string, 12> names{
    "A",      "Seal 2", "\xe5\x8d\xb0\xe7\xab\xa0", "a|b",   "x|",      "a||b",
    "n&8132", "||",     std::string(200, 'n'),      "-8130", "&&8131&", "|"};

// Sizes that are equal, smaller and larger; bytes that count as sealed; bytes that nearly do.
const std::array<std::string, 9> pictures{"hello",
                                          "olleh",
                                          "x",
                                          std::string(3, '\0'),
                                          "VemraSeal",
                                          std::string("VemraSeal\0", 10),
                                          "VemraSeal with more",
                                          std::string(300, '\x5a'),
                                          "\x89PNG\r\n\x1a\n"};

const std::vector<content> contents{
    {false, "", {}},
    {true, "", {}},
    {true, "A&8130", {{8130, "hello"}}},
    {true,
     "A&8130||B&8131||C&8132||D&8133||E&8134",
     {{8130, "hello"}, {8131, "2"}, {8132, "3"}, {8133, "4"}, {8134, "5"}}},
    {true, "A&8130||C&8132", {{8130, "hello"}, {8131, "orphaned"}, {8132, ""}}},
    {false, "", {{8130, "orphaned"}, {8134, ""}}},
    {true, "S&8131", {{8131, "VemraSeal"}, {8132, std::string("VemraSeal\0", 10)}}},
    {true, "Z&8129||A&8130||bad||&8131||B&8132&x||Y&8135|x", {{8130, "1"}, {8129, "2"}}},
    {true, "A&8130||B&8130||C&-12||D&81x0", {{8130, "twice"}, {8135, "untouched"}}}};

// Which functions can be made to fail. The empty name is any. The functions that tell errors never
// fail.
constexpr std::array<const char*, 16> functions{"",
                                                "VemraPKICryptoGetAllDevices",
                                                "VemraPKICryptoGetDevice",
                                                "VemraPKICryptoNewHash",
                                                "VemraPKICryptoGetDeviceCount",
                                                "VemraPKICryptoGetKeypairCount",
                                                "VemraPKICryptoGetType",
                                                "VemraPKICryptoGetSerialNumber",
                                                "VemraPKICryptoVerifyPwd",
                                                "VemraPKICryptoGetDataLength",
                                                "VemraPKICryptoReadData",
                                                "VemraPKICryptoCreateData",
                                                "VemraPKICryptoWriteData",
                                                "VemraPKICryptoDeleteData",
                                                "VemraPKICryptoHashUpdate",
                                                "VemraPKICryptoHashFinal"};
// Those before it may make a handle, which would be lost with the answer.
constexpr std::size_t first_without_handle = 4;

// What an exception would do in a function that builds an error's text is to end the process.
disturbance _disturbance(unsigned char kind, std::size_t function) {
    const bool is_named = function != 0;
    if (kind / 8 % 4 == 1) return disturbance::hollow;
    if (kind % 4 == 1 && function >= first_without_handle) return disturbance::answer_lost;
    if (kind % 4 == 2 && is_named) return disturbance::thrown;
    if (kind % 4 == 3 && is_named) return disturbance::thrown_number;
    return disturbance::refused;
}

}  // namespace

const std::string& name_of(unsigned char number) {
    return names[number % names.size()];
}

const std::string& picture_of(unsigned char number) {
    return pictures[number % pictures.size()];
}

const char* password_of(unsigned char number) {
    constexpr std::array<const char*, 4> passwords{right_password, nullptr, right_password, "no"};
    return passwords[number % passwords.size()];
}

const content& content_of(unsigned char number) {
    return contents[number % contents.size()];
}

planned_disturbance disturbance_of(const step& one) {
    const std::size_t function = one.device % functions.size();
    planned_disturbance plan;
    plan.function = functions[function];
    plan.nth = one.pick % 24 + 1;
    plan.what = _disturbance(one.text, function);
    plan.is_lasting = one.text / 4 % 2 == 1;
    // A digest of nothing would be that of every device.
    if (plan.function == "VemraPKICryptoHashUpdate" && plan.what == disturbance::hollow) {
        plan.is_lasting = false;
    }
    return plan;
}

bool needs_login(unsigned char number) {
    return number / contents.size() % 2 == 1;
}

std::string to_text(const plan& use) {
    constexpr std::array<const char*, step::kinds> kinds{
        "list",       "take",     "ask_owner", "append", "update", "erase",
        "free_stamp", "free_set", "unplug",    "replug", "fault",  "mend"};
    std::ostringstream text;
    text << "plan{{";
    for (const unsigned char& device : use.devices)
        text << (&device == use.devices.data() ? "" : ", ") << int{device};
    text << "}, {";
    for (const step& one : use.steps) {
        text << (&one == use.steps.data() ? "" : ", ") << "{step::" << kinds[one.what] << ", "
             << int{one.device} << ", " << int{one.pick} << ", " << int{one.text} << ", "
             << int{one.bytes} << "}";
    }
    text << "}}";
    return text.str();
}
