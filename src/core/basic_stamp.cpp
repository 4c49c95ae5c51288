#include "core/basic_stamp.h"

#include <cstring>
#include <stdexcept>

namespace vemra::app::stamp {

namespace {

constexpr char sealed_magic[] = "VemraSeal";
constexpr std::size_t sealed_magic_length = sizeof(sealed_magic) - 1;

}  // namespace

basic_stamp::basic_stamp(type_t type, format_t format, const std::basic_string<unsigned char>& uuid)
    : type_(type), format_(format), uuid_(uuid) {}

void basic_stamp::set_data(const void* bytes, const std::size_t& size) {
    if (size > data_.max_size()) throw std::length_error("basic_string::assign");
    data_.assign(static_cast<const unsigned char*>(bytes), size);
}

void basic_stamp::set_data(const std::basic_string<unsigned char>& bytes) {
    set_data(bytes.data(), bytes.size());
}

int basic_stamp::detect_stamp_format(const unsigned char* data, const std::size_t& size) {
    if (size < sealed_magic_length || size > sizeof(sealed_magic)) return plain;
    return std::memcmp(sealed_magic, data, size) == 0 ? sealed : plain;
}

}  // namespace vemra::app::stamp
