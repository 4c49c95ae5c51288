#include "sweep/crowd/moving_stamp.h"

const new_stamp resting{"resting", "the bytes that nobody changes"};
const char* const moving_name = "moving";

new_stamp stamp_version(int number) {
    const int letter = number % 26;
    return {moving_name, std::string(static_cast<std::size_t>(40 + 10 * letter),
                                     static_cast<char>('a' + letter))};
}

bool is_whole_or_between(const std::string& bytes) {
    if (bytes.empty() || bytes.find_first_not_of('\0') == std::string::npos) return true;
    return bytes == stamp_version(bytes.front() - 'a').data;
}
