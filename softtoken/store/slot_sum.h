/** The checksum that is stored with each slot. */
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vemra::softtoken {

/*
 * The sum of all that a slot is: its number, its attribute block, its length, and its bytes, or
 * that it has none yet. XXH3 of 64 bits, the same on every machine.
 */
std::int64_t slot_sum(std::int64_t id, std::string_view attributes, std::int64_t length,
                      std::optional<std::string_view> bytes);

}  // namespace vemra::softtoken
