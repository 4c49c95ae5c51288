#include "store/slot_sum.h"

#include <xxhash.h>

#include <string>

namespace vemra::softtoken {

namespace {

void _append_number(std::string& text, std::uint64_t number) {
    for (int shift = 0; shift < 64; shift += 8)
        text += static_cast<char>(number >> shift & 0xff);
}

}  // namespace

std::int64_t slot_sum(std::int64_t id, std::string_view attributes, std::int64_t length,
                      std::optional<std::string_view> bytes) {
    std::string head;
    _append_number(head, static_cast<std::uint64_t>(id));
    _append_number(head, static_cast<std::uint64_t>(length));
    head += bytes ? '\1' : '\0';
    head += attributes;
    XXH64_hash_t sum = XXH3_64bits(head.data(), head.size());
    if (bytes) sum = XXH3_64bits_withSeed(bytes->data(), bytes->size(), sum);
    return static_cast<std::int64_t>(sum);
}

}  // namespace vemra::softtoken
