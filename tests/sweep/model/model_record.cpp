#include "sweep/model/model_record.h"

#include <algorithm>

namespace {

// Pieces of a text, empty ones dropped; an empty one more when the last byte that is a delimiter's
// stands as far from the end as the delimiter is long.
std::vector<std::string> _pieces(const std::string& text, const std::string& delimiter) {
    std::vector<std::string> result;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find(delimiter, from), text.size());
        if (end != from) result.push_back(text.substr(from, end - from));
        from = end + delimiter.size();
    }
    const std::size_t last = text.find_last_of(delimiter);
    if (last != std::string::npos && last + delimiter.size() == text.size()) result.emplace_back();
    return result;
}

// Torn records have no negative numbers; bytes that are no digits count all the same.
unsigned int _number(const std::string& digits) {
    unsigned int value = 0;
    for (const char digit : digits)
        value = value * 10 + static_cast<unsigned char>(digit) - 0x30U;
    return value;
}

}  // namespace

std::string little_endian(unsigned int value) {
    std::string result;
    for (int i = 0; i < 4; ++i, value >>= 8)
        result += static_cast<char>(value & 0xff);
    return result;
}

std::string model_record(const std::map<unsigned int, std::string>& entries) {
    std::string body;
    for (const auto& [slot, name] : entries)
        body += (body.empty() ? "" : "||") + name + "&" + std::to_string(slot);
    return little_endian(static_cast<unsigned int>(body.size() + 5)) + '\x01' + body;
}

std::map<unsigned int, std::string> model_mapping(const std::string& record,
                                                  std::vector<std::string>& complaints) {
    std::map<unsigned int, std::string> entries;
    if (record.empty()) return entries;
    std::size_t total = 0;
    for (std::size_t i = 4; i-- > 0;)
        total = total * 256 + static_cast<unsigned char>(record.at(i));
    if (total < 5) {
        complaints.push_back("Bad stamp info header: total length " + std::to_string(total) +
                             ", skip it.");
        return entries;
    }
    if (total > record.size()) {
        complaints.push_back("Bad stamp info header: total length " + std::to_string(total) +
                             ", only " + std::to_string(record.size()) + " bytes present.");
    }
    for (const std::string& entry : _pieces(record.substr(0, total).substr(5), "||")) {
        const std::vector<std::string> parts = _pieces(entry, "&");
        if (parts.size() >= 2) {
            entries[_number(parts[1])] = parts[0];
        } else {
            complaints.push_back("Bad stamp info: " + std::string(entry.c_str()) + ", skip it.");
        }
    }
    return entries;
}
