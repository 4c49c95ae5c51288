#include "model/reference_mapping.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace reference_mapping {

namespace {

constexpr std::size_t header_length = 5;

// An empty piece counts only at the very end, where the text's last delimiter byte stands exactly
// one delimiter's length before the end.
bool _ends_in_empty_piece(std::string_view text, std::string_view delimiter) {
    if (text.size() < delimiter.size()) return false;
    const std::string_view tail = text.substr(text.size() - delimiter.size());
    const auto is_delimiter_byte = [delimiter](char byte) {
        return delimiter.find(byte) != std::string_view::npos;
    };
    return is_delimiter_byte(tail.front()) &&
           std::none_of(tail.begin() + 1, tail.end(), is_delimiter_byte);
}

std::vector<std::string> _pieces(std::string_view text, std::string_view delimiter) {
    std::vector<std::string> pieces;
    std::string piece;
    const auto end_piece = [&] {
        if (!piece.empty()) pieces.push_back(piece);
        piece.clear();
    };
    for (std::size_t i = 0; i < text.size();) {
        if (text.substr(i, delimiter.size()) == delimiter) {
            end_piece();
            i += delimiter.size();
        } else {
            piece += text[i++];
        }
    }
    end_piece();
    if (_ends_in_empty_piece(text, delimiter)) pieces.emplace_back();
    return pieces;
}

// In the integers modulo 2 to the 32nd; a leading "-" makes every byte count downwards.
unsigned int _slot(const std::string& digits) {
    constexpr std::int64_t modulus = std::int64_t{1} << 32;
    const int sign = !digits.empty() && digits[0] == '-' ? -1 : 1;
    std::int64_t slot = 0;
    for (const char digit : digits) {
        slot = (slot * 10 + sign * (static_cast<unsigned char>(digit) - 0x30)) % modulus;
    }
    return static_cast<unsigned int>((slot + modulus) % modulus);
}

std::size_t _byte(const std::string& record, std::size_t position) {
    return static_cast<unsigned char>(record[position]);
}

}  // namespace

reading read(const std::string& record) {
    reading result;
    if (record.empty()) return result;
    const std::string present_bytes = "only " + std::to_string(record.size()) + " bytes present";
    if (record.size() < header_length) {
        result.reports = {"Bad stamp info header: " + present_bytes + ", skip it."};
        return result;
    }
    std::size_t total = 0;
    for (std::size_t position = 4; position > 0; --position) {
        total = total * 256 + _byte(record, position - 1);
    }
    const std::string promised = "Bad stamp info header: total length " + std::to_string(total);
    if (total < header_length) {
        result.reports = {promised + ", skip it."};
        return result;
    }
    if (total > record.size()) result.reports = {promised + ", " + present_bytes + "."};

    // What the header promises beyond the record's end is not there.
    const std::string_view present(record);
    const std::string_view body = present.substr(header_length, total - header_length);
    for (const std::string& entry : _pieces(body, "||")) {
        const std::vector<std::string> fields = _pieces(entry, "&");
        if (fields.size() < 2) {
            // Printed as far as its first zero byte.
            result.reports.push_back("Bad stamp info: " + std::string(entry.c_str()) +
                                     ", skip it.");
        } else {
            result.stamps[_slot(fields[1])] = fields[0];
        }
    }
    return result;
}

std::string write(const mapping& stamps) {
    std::string body;
    for (const auto& [slot, name] : stamps) {
        if (!body.empty()) body += "||";
        body += name + "&" + std::to_string(slot);
    }
    return little_endian(static_cast<unsigned int>(header_length + body.size())) + '\x01' + body;
}

std::string little_endian(unsigned int value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i, value /= 256)
        bytes += static_cast<char>(value % 256);
    return bytes;
}

bool survives(const std::string& name) {
    return !name.empty() && name.find('&') == std::string::npos &&
           name.find("||") == std::string::npos;
}

}  // namespace reference_mapping
