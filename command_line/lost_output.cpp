#include "command_line/lost_output.h"

#include <cstring>

namespace vemra {

namespace {

std::string _text(int reason, const std::vector<std::string>& done) {
    std::string text = "standard output cannot be written";
    if (reason != 0) text += std::string(": ") + std::strerror(reason);
    for (const std::string& each : done)
        text += "\nDone all the same: " + each;
    return text;
}

}  // namespace

lost_output::lost_output(int reason, const std::vector<std::string>& done)
    : std::runtime_error(_text(reason, done)) {}

}  // namespace vemra
