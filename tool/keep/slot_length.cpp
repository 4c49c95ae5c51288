#include "keep/slot_length.h"

#include "basics/failure.h"

namespace vemra::tool {

std::optional<int> length_of(session& tokens, const named_stamp& one) {
    try {
        return tokens.ask([&](token_reader& all) { return all.slot_length(one.device, one.slot); });
    } catch (const failure&) {
        return std::nullopt;
    }
}

}  // namespace vemra::tool
