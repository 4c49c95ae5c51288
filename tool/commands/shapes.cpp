#include "commands/shapes.h"

#include <optional>

#include "basics/digest.h"
#include "keep/selector.h"

namespace vemra::tool {

namespace {

template <typename T>
json _or_null(const std::optional<T>& value) {
    return value ? json(*value) : json(nullptr);
}

}  // namespace

json picture_json(const picture& seen) {
    json transparent = nullptr;
    if (seen.transparent != picture::transparency::unknown) {
        transparent = seen.transparent == picture::transparency::yes;
    }
    return {{"media_type", seen.media_type},
            {"width", _or_null(seen.width)},
            {"height", _or_null(seen.height)},
            {"x_resolution", _or_null(seen.x_resolution)},
            {"y_resolution", _or_null(seen.y_resolution)},
            {"transparent", transparent},
            {"damaged", seen.is_damaged}};
}

json stamp_json(const stamp& one, const picture& seen) {
    json object = identity_json(one);
    object["bytes"] = one.data.size();
    object["sha256"] = sha256(one.data);
    object["picture"] = picture_json(seen);
    return object;
}

}  // namespace vemra::tool
