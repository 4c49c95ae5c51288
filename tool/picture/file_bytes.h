/** The bytes of a picture's file, read without trust in the lengths that it tells. */
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vemra::tool {

/** What is wrong with a picture's file, in words that follow "damaged: ". */
class picture_damage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/**
 * Places and counts are in bytes, from the file's start. Whatever reaches past its end throws
 * picture_damage, which says within which part the file ends.
 */
class file_bytes {
public:
    explicit file_bytes(std::string_view bytes) : bytes_(bytes) {}

    std::uint64_t size() const { return bytes_.size(); }
    void require(std::uint64_t at, std::uint64_t count, const char* part) const;

    std::uint64_t big_endian(std::uint64_t at, unsigned int count, const char* part) const;
    std::uint64_t little_endian(std::uint64_t at, unsigned int count, const char* part) const;
    unsigned char byte(std::uint64_t at, const char* part) const;
    std::string_view text(std::uint64_t at, std::uint64_t count, const char* part) const;
    std::string_view all() const { return bytes_; }

private:
    std::string_view bytes_;
};

}  // namespace vemra::tool
