#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "picture/picture.h"
#include "picture/sample_pictures.h"

using vemra::tool::look_at;
using vemra::tool::picture;

TEST(picture_facts, of_a_png_file_are_size_and_resolution) {
    const picture seen = look_at(samples::png_with_alpha());
    EXPECT_EQ(seen.media_type, "image/png");
    EXPECT_EQ(seen.pixels(), "2x1");
    EXPECT_EQ(seen.x_resolution, 300.0);
    EXPECT_EQ(seen.y_resolution, 300.0);
    EXPECT_EQ(seen.damage, "");
}

TEST(picture_facts, a_resolution_behind_the_picture_data_is_none) {
    EXPECT_EQ(look_at(samples::png_with_late_resolution()).x_resolution, std::nullopt);
}

TEST(picture_facts, a_png_file_is_transparent_where_a_pixel_is) {
    const std::vector<std::pair<std::string, picture::transparency>> files{
        {samples::png_with_alpha(), picture::transparency::yes},
        {samples::interlaced_png(), picture::transparency::yes},
        {samples::png_with_transparent_colour(), picture::transparency::yes},
        {samples::png_with_opaque_alpha(), picture::transparency::no},
        {samples::png_with_opaque_colour(), picture::transparency::no},
        {samples::png_without_alpha(), picture::transparency::no}};
    for (const auto& [file, expected] : files) {
        EXPECT_EQ(look_at(file).transparent, expected) << look_at(file).pixels();
    }
}

// Whether it can be decoded is no question of its format.
TEST(picture_facts, what_cannot_be_decoded_is_of_unknown_transparency) {
    const picture seen = look_at(samples::undecodable_png());
    EXPECT_EQ(seen.transparent, picture::transparency::unknown);
    EXPECT_FALSE(seen.is_damaged());
}

TEST(picture_facts, jpeg_and_bmp_know_no_transparency) {
    EXPECT_EQ(look_at(samples::jpeg()).transparent, picture::transparency::no);
    EXPECT_EQ(look_at(samples::bmp()).transparent, picture::transparency::no);
    EXPECT_EQ(look_at(samples::gif()).transparent, picture::transparency::unknown);
}

TEST(picture_facts, other_pictures_are_sound_or_damaged_too) {
    for (const std::string& file : {samples::jpeg(), samples::gif(), samples::bmp()}) {
        EXPECT_FALSE(look_at(file).is_damaged());
        EXPECT_TRUE(look_at(file.substr(0, file.size() - 1)).is_damaged());
    }
}

TEST(picture_facts, of_a_damaged_png_file_are_those_told_before_the_damage) {
    const std::string file = samples::png_with_alpha();
    const picture seen = look_at(file.substr(0, file.size() - 1));
    EXPECT_EQ(seen.pixels(), "2x1");
    EXPECT_EQ(seen.transparent, picture::transparency::unknown);
    EXPECT_TRUE(seen.is_damaged());
}

TEST(picture_facts, a_png_file_is_known_by_either_half_of_its_first_bytes) {
    const std::string file = samples::png_with_alpha();
    for (std::size_t place = 0; place < 16; ++place) {
        std::string changed = file;
        changed[place] = static_cast<char>(changed[place] ^ 1);
        EXPECT_EQ(look_at(changed).media_type, "image/png") << place;
        EXPECT_TRUE(look_at(changed).is_damaged()) << place;
    }
    EXPECT_TRUE(look_at(file.substr(0, 4)).is_damaged());
    EXPECT_FALSE(look_at(file.substr(0, 3)).is_image());
}
