#include "keep/cause.h"

#include <regex>

namespace vemra::tool {

std::string cause_of(std::string_view error) {
    std::string cause(error);
    const std::size_t because = cause.find("because: ");
    if (because != std::string::npos) cause.erase(0, because + 9);
    static const std::regex device_text(R"(^(.*)\((-?[0-9]+)\)?(\. \(at .*|, you can .*)?\.?$)");
    std::smatch parts;
    if (std::regex_match(cause, parts, device_text)) {
        return parts[1].str() + " (" + parts[2].str() + ")";
    }
    if (!cause.empty() && cause.back() == '.') cause.pop_back();
    return cause;
}

}  // namespace vemra::tool
