#include "core/stamp_info_mapping.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/little_endian.h"
#include "core/log.h"
#include "core/stamp_info_header.h"

namespace vemra::app::stamp {

namespace {

constexpr std::string_view entry_separator = "||";
constexpr std::string_view field_separator = "&";
// As many as a full device has entries, so that reading one allocates little.
constexpr std::size_t usual_part_count = 5;

std::vector<std::string_view> _split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> parts;
    parts.reserve(usual_part_count);
    std::size_t start = 0;
    for (std::size_t found = text.find(separator); found != std::string_view::npos;
         found = text.find(separator, start)) {
        if (found != start) parts.push_back(text.substr(start, found - start));
        start = found + separator.size();
    }
    if (start < text.size()) parts.push_back(text.substr(start));

    // Kept(lone-bar): a single byte of the separator this far from the end adds an empty part. For
    // "&" that is a text that ends in one; for "||" it is a text that ends in a bar and another
    // byte.
    const std::size_t last = text.find_last_of(separator);
    if (last != std::string_view::npos && last + separator.size() == text.size()) {
        parts.emplace_back();
    }
    return parts;
}

// Kept(slot-digits): no byte is rejected; each counts as its distance from "0", a leading "-"
// included.
int _slot_of(std::string_view digits) {
    const bool is_negative = !digits.empty() && digits.front() == '-';
    unsigned int slot = 0;
    for (const char digit : digits) {
        const unsigned int value =
            static_cast<unsigned char>(digit) - static_cast<unsigned int>('0');
        slot = is_negative ? slot * 10 - value : slot * 10 + value;
    }
    return static_cast<int>(slot);
}

std::string _header(std::size_t total) {
    std::string header = qo::base::to_little_endian(static_cast<std::uint32_t>(total));
    header += static_cast<char>(stamp_info_header::known_version);
    return header;
}

}  // namespace

std::string _encode_stamp_info_mapping(const stamp_info_mapping& mapping) {
    std::string body;
    for (const auto& [slot, name] : mapping) {
        body += name;
        body += field_separator;
        body += std::to_string(static_cast<unsigned int>(slot));
        body += entry_separator;
    }
    if (!body.empty()) body.erase(body.size() - entry_separator.size());
    return _header(body.size() + stamp_info_header::length) + body;
}

stamp_info_mapping _parse_stamp_info_mapping(const unsigned char* bytes, const std::size_t& size) {
    stamp_info_mapping mapping;
    if (size == 0) return mapping;
    const std::optional<stamp_info_header> header = parse_stamp_info_header(bytes, size);
    if (!header) {
        VEMRA_LOG_ERROR("Bad stamp info header: only %zu bytes present, skip it.", size);
        return mapping;
    }
    std::size_t total = header->total_length;
    if (total < stamp_info_header::length) {
        VEMRA_LOG_ERROR("Bad stamp info header: total length %zu, skip it.", total);
        return mapping;
    }
    if (total > size) {
        VEMRA_LOG_ERROR("Bad stamp info header: total length %zu, only %zu bytes present.", total,
                        size);
        total = size;
    }

    const std::string_view body(reinterpret_cast<const char*>(bytes) + stamp_info_header::length,
                                total - stamp_info_header::length);
    for (const std::string_view entry : _split(body, entry_separator)) {
        const std::vector<std::string_view> parts = _split(entry, field_separator);
        if (parts.size() < 2) {
            VEMRA_LOG_ERROR("Bad stamp info: %s, skip it.", std::string(entry).c_str());
            continue;
        }
        mapping[_slot_of(parts[1])] = parts[0];
    }
    return mapping;
}

}  // namespace vemra::app::stamp
