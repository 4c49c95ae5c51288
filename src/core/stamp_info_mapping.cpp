#include "core/stamp_info_mapping.h"

#include <string_view>
#include <vector>

#include "core/log.h"

namespace vemra::app::stamp {

namespace {

constexpr std::size_t header_length = 5;
constexpr char version = 1;
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
unsigned int _slot_of(std::string_view digits) {
    const bool is_negative = !digits.empty() && digits.front() == '-';
    unsigned int slot = 0;
    for (const char digit : digits) {
        const unsigned int value =
            static_cast<unsigned char>(digit) - static_cast<unsigned int>('0');
        slot = is_negative ? slot * 10 - value : slot * 10 + value;
    }
    return slot;
}

std::size_t _total_length(const unsigned char* bytes) {
    return static_cast<std::size_t>(bytes[0]) | static_cast<std::size_t>(bytes[1]) << 8 |
           static_cast<std::size_t>(bytes[2]) << 16 | static_cast<std::size_t>(bytes[3]) << 24;
}

std::string _header(std::size_t total) {
    std::string header;
    for (unsigned int shift = 0; shift < 32; shift += 8) {
        header += static_cast<char>(total >> shift & 0xff);
    }
    header += version;
    return header;
}

}  // namespace

std::string _encode_stamp_info_mapping(const stamp_info_mapping& mapping) {
    std::string body;
    for (const auto& [slot, name] : mapping) {
        body += name;
        body += field_separator;
        body += std::to_string(slot);
        body += entry_separator;
    }
    if (!body.empty()) body.erase(body.size() - 2);
    return _header(body.size() + header_length) + body;
}

stamp_info_mapping _parse_stamp_info_mapping(const unsigned char* bytes, const std::size_t& size) {
    stamp_info_mapping mapping;
    if (size == 0) return mapping;
    if (size < header_length) {
        VEMRA_LOG_ERROR("Bad stamp info header: only %zu bytes present, skip it.", size);
        return mapping;
    }
    std::size_t total = _total_length(bytes);
    if (total < header_length) {
        VEMRA_LOG_ERROR("Bad stamp info header: total length %zu, skip it.", total);
        return mapping;
    }
    if (total > size) {
        VEMRA_LOG_ERROR("Bad stamp info header: total length %zu, only %zu bytes present.", total,
                        size);
        total = size;
    }

    const std::string_view body(reinterpret_cast<const char*>(bytes) + header_length,
                                total - header_length);
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
