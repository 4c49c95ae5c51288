#include "keep/stamp_checks.h"

#include "basics/text.h"
#include "picture/picture.h"

namespace vemra::tool {

void check_name(const std::string& name) {
    const auto refuse = [&](const char* reason) {
        throw failure(exit_code::usage, "the name " + quoted(name) + " " + reason);
    };
    if (name.empty()) refuse("is empty");
    if (!is_utf8(name)) refuse("is not UTF-8");
    if (has_control_characters(name)) refuse("has control characters in it");
    if (name.find('&') != std::string::npos || name.find("||") != std::string::npos) {
        refuse("has \"&\" or \"||\" in it, which a device cannot keep in a name");
    }
}

void check_unused(const std::vector<stamp>& stamps, const std::string& name) {
    for (const stamp& one : stamps) {
        if (one.name != name) continue;
        throw failure(exit_code::usage, "a stamp on this device has the name " + quoted(name) +
                                            " already; --allow-duplicate gives it all the same");
    }
}

void check_picture(context& run, const std::string& data, bool any_data) {
    if (run.tokens().is_sealed(data)) {
        throw failure(exit_code::usage,
                      "these bytes mark a sealed slot and would not be listed as a stamp");
    }
    const picture seen = look_at(data);
    if (!any_data && (!seen.is_image() || seen.is_damaged)) {
        throw failure(exit_code::usage,
                      seen.is_damaged
                          ? "the PNG picture is damaged; --any-data stores it all the same"
                          : "this is no picture but " + seen.media_type +
                                "; --any-data stores it all the same");
    }
    if (seen.transparent == picture::transparency::no) {
        run.out.warn("the picture has no transparency: it will cover what it is set upon");
    }
}

}  // namespace vemra::tool
