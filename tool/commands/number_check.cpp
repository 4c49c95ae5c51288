#include "commands/number_check.h"

#include <charconv>
#include <cmath>
#include <string>

namespace vemra::tool {

namespace {

bool _is_number_from_0(const std::string& text) {
    double number = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    return parsed.ec == std::errc() && parsed.ptr == end && std::isfinite(number) && number >= 0;
}

}  // namespace

CLI::Validator number_from_0() {
    return CLI::Validator(
        [](const std::string& text) {
            return _is_number_from_0(text) ? "" : "takes a number from 0 up, not " + text;
        },
        "");
}

}  // namespace vemra::tool
