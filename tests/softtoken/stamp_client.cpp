/*
 * Works on the first device's stamps through the stamp library; the outcome goes to standard error,
 * since the library's trace has standard output, and after what the library said of it.
 *
 *   stamp_client append SERIAL TYPE PASSWORD NAME LENGTH LETTER   "append: STATUS"
 *   stamp_client list [TIMES]                                     "list: NAME BYTES ..."
 *
 * Bytes are told in runs: 400 times an a and one b are 400*a+1*b.
 */
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "vemra_app_stamp.h"

namespace {

void _tell(const std::string& outcome) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", outcome.c_str());
}

int _append(char** words) {
    std::string bytes(std::strtoul(words[4], nullptr, 10), words[5][0]);
    VEMRA_APP_STAMP_RECORD record{};
    record.type = 1;
    record.name = words[3];
    record.name_length = static_cast<unsigned int>(std::strlen(words[3]));
    record.data = reinterpret_cast<unsigned char*>(bytes.data());
    record.data_length = bytes.size();
    int status =
        VemraAppStampAppendStamp(words[0], static_cast<unsigned int>(std::strlen(words[0])),
                                 std::atoi(words[1]), words[2], &record);
    _tell("append: " + std::to_string(status));
    return 0;
}

std::string _runs(const std::string& bytes) {
    std::string text;
    for (std::size_t start = 0, end = 0; start < bytes.size(); start = end) {
        end = std::min(bytes.find_first_not_of(bytes[start], start), bytes.size());
        text += (start == 0 ? "" : "+") + std::to_string(end - start) + "*" + bytes[start];
    }
    return text;
}

std::string _describe(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index) {
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    if (VemraAppStampGetStamp(set, index, &uuid, &uuid_size, &record) != 1) return " failed";
    std::string bytes(reinterpret_cast<const char*>(record->data), record->data_length);
    std::string text = " " + std::string(record->name, record->name_length) + " " + _runs(bytes);
    VemraAppStampFreeMemory(uuid);
    VemraAppStampFreeMemory(record->name);
    VemraAppStampFreeStamp(record);
    return text;
}

void _list() {
    VEMRA_APP_STAMP_SET_HANDLE set = VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
    unsigned int count = 0;
    std::string text = "list:";
    if (set != nullptr && VemraAppStampGetStampCount(set, &count) == 1) {
        for (unsigned int index = 0; index < count; ++index)
            text += _describe(set, index);
    }
    if (set != nullptr) VemraAppStampFreeStamps(set);
    _tell(text);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 8 && std::string(argv[1]) == "append") return _append(argv + 2);
    int times = argc > 2 ? std::atoi(argv[2]) : 1;
    for (int i = 0; i < times; ++i)
        _list();
    return 0;
}
