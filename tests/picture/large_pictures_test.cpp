#include <gtest/gtest.h>
#include <time.h>
#include <zlib.h>

#include "picture/picture.h"

using vemra::tool::look_at;
using vemra::tool::picture;

namespace {

std::string _big_endian(unsigned long value) {
    std::string made;
    for (int shift = 24; shift >= 0; shift -= 8)
        made += static_cast<char>(value >> shift & 0xffU);
    return made;
}

std::string _chunk(const std::string& type, const std::string& data) {
    const std::string summed = type + data;
    const auto* bytes = reinterpret_cast<const unsigned char*>(summed.data());
    return _big_endian(data.size()) + summed + _big_endian(crc32_z(0, bytes, summed.size()));
}

// Zeros, deflated so that the piece can be repeated.
std::string _deflated_row(std::size_t bytes) {
    std::string plain(bytes, '\0');
    std::string packed(bytes + 100, '\0');
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    stream.next_in = reinterpret_cast<unsigned char*>(plain.data());
    stream.avail_in = static_cast<unsigned int>(plain.size());
    stream.next_out = reinterpret_cast<unsigned char*>(packed.data());
    stream.avail_out = static_cast<unsigned int>(packed.size());
    deflate(&stream, Z_FULL_FLUSH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

constexpr unsigned int width = 1000000;
constexpr unsigned int height = 16000;

// A megapixel wide, of one byte a pixel, all of them zero.
std::string _bomb(char colours, const std::string& chunks) {
    const std::string row = _deflated_row(width + 1);
    std::string data = "\x78\xda";
    for (unsigned int y = 0; y < height; ++y)
        data += row;
    // The last block of the stream, and a sum over 16 gigabytes that nobody gets to.
    data += std::string("\x03\0\0\0\0\0", 6);
    std::string header = _big_endian(width) + _big_endian(height) + '\x08' + colours;
    header += std::string(3, '\0');
    return "\x89PNG\r\n\x1a\n" + _chunk("IHDR", header) + chunks + _chunk("IDAT", data) +
           _chunk("IEND", "");
}

double _seconds_of_this_thread() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Generous: sanitizers take their share. Decoding it all takes minutes.
constexpr double most_seconds = 1;

void _expect_quick(const std::string& file, picture::transparency expected) {
    const double start = _seconds_of_this_thread();
    const picture seen = look_at(file);
    const double seconds = _seconds_of_this_thread() - start;
    testing::Test::RecordProperty("milliseconds", std::to_string(seconds * 1000));
    EXPECT_LT(seconds, most_seconds);
    EXPECT_EQ(seen.pixels(), "1000000x16000");
    EXPECT_EQ(seen.transparent, expected);
    EXPECT_EQ(seen.damage, "");
}

}  // namespace

TEST(large_pictures, without_alpha_are_looked_at_without_decoding_any_of_it) {
    _expect_quick(_bomb(0, ""), picture::transparency::no);
}

TEST(large_pictures, with_opaque_rows_are_given_up_early) {
    const std::string colours = _chunk("PLTE", std::string(6, '\0'));
    _expect_quick(_bomb(3, colours + _chunk("tRNS", std::string("\xff\0", 2))),
                  picture::transparency::unknown);
}

TEST(large_pictures, with_a_transparent_pixel_at_the_top_are_transparent) {
    const std::string colours = _chunk("PLTE", std::string(6, '\0'));
    _expect_quick(_bomb(3, colours + _chunk("tRNS", std::string("\0", 1))),
                  picture::transparency::yes);
}

// Texts that inflate are not read either.
TEST(large_pictures, with_a_profile_that_inflates_are_looked_at_quickly) {
    std::string profile("p\0\0\x78\xda", 5);
    const std::string piece = _deflated_row(1000000);
    for (int i = 0; i < 4000; ++i)
        profile += piece;
    const std::string colours = _chunk("PLTE", std::string(6, '\0'));
    _expect_quick(
        _bomb(3, _chunk("iCCP", profile) + colours + _chunk("tRNS", std::string("\0", 1))),
        picture::transparency::yes);
}
