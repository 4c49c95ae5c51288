#include "basics/text.h"

namespace vemra::tool {

std::string quoted(const std::string& text) {
    return "\"" + printable(text) + "\"";
}

}  // namespace vemra::tool
