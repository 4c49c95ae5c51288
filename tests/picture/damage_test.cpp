#include "picture/damage.h"

#include <gtest/gtest.h>

#include <vector>

#include "picture/sample_pictures.h"

using vemra::tool::find_damage;

namespace {

struct sample {
    const char* name;
    const char* media_type;
    std::string file;
};

std::vector<sample> _samples() {
    return {{"png_with_alpha", "image/png", samples::png_with_alpha()},
            {"png_with_colours", "image/png", samples::png_with_opaque_colour()},
            {"interlaced_png", "image/png", samples::interlaced_png()},
            {"gif", "image/gif", samples::gif()},
            {"jpeg", "image/jpeg", samples::jpeg()},
            {"bmp", "image/bmp", samples::bmp()},
            {"bmp_with_old_header", "image/x-ms-bmp", samples::bmp_with_old_header()},
            {"compressed_bmp", "image/bmp", samples::compressed_bmp()},
            {"webp", "image/webp", samples::webp()},
            {"tiff_with_strip", "image/tiff", samples::tiff_with_strip()},
            {"tiff_with_tiles", "image/tiff", samples::tiff_with_tiles()},
            {"icon", "image/vnd.microsoft.icon", samples::icon()},
            {"heic", "image/heic", samples::heic()},
            {"heif", "image/heif", samples::heic()},
            {"avif", "image/avif", samples::heic()},
            {"jp2", "image/jp2", samples::jp2()}};
}

struct damaged_file {
    const char* media_type;
    std::string file;
    const char* damage;
};

void _expect_damage(const std::vector<damaged_file>& files) {
    for (const damaged_file& one : files) {
        EXPECT_EQ(find_damage(one.media_type, one.file), one.damage);
    }
}

class every_format : public testing::TestWithParam<sample> {};

std::string _name_of(const testing::TestParamInfo<sample>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(picture_damage, every_format, testing::ValuesIn(_samples()), _name_of);

TEST_P(every_format, a_whole_file_is_sound) {
    EXPECT_EQ(find_damage(GetParam().media_type, GetParam().file), "");
}

TEST_P(every_format, a_file_cut_at_any_length_is_damaged) {
    for (std::size_t length = 0; length < GetParam().file.size(); ++length) {
        EXPECT_NE(find_damage(GetParam().media_type, GetParam().file.substr(0, length)), "")
            << length << " bytes of " << GetParam().file.size();
    }
}

}  // namespace

// What an interrupted write of a device may leave. Other formats tell lengths in the header alone.
TEST(picture_damage, zeros_from_the_middle_on_are_seen_where_an_end_is_marked) {
    const std::vector<sample> files{{"png", "image/png", samples::png_with_alpha()},
                                    {"gif", "image/gif", samples::gif()},
                                    {"jpeg", "image/jpeg", samples::jpeg()},
                                    {"svg", "image/svg+xml", samples::svg()}};
    for (const sample& one : files) {
        const std::size_t half = one.file.size() / 2;
        const std::string torn = one.file.substr(0, half) + std::string(half, '\0');
        EXPECT_NE(find_damage(one.media_type, torn), "") << one.name;
    }
}

// A device may keep the rest of a longer picture behind a shorter one.
TEST(picture_damage, what_follows_a_whole_picture_is_none) {
    for (const sample& one : _samples()) {
        if (one.file.substr(4, 4) == "ftyp" || one.file.substr(4, 4) == "jP  ") continue;
        EXPECT_EQ(find_damage(one.media_type, one.file + "rest"), "") << one.name;
    }
}

TEST(picture_damage, any_flipped_bit_of_a_png_file_is_seen) {
    const std::string sound = samples::png_with_alpha();
    for (std::size_t bit = 0; bit < sound.size() * 8; ++bit) {
        std::string flipped = sound;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
        EXPECT_NE(find_damage("image/png", flipped), "") << "bit " << bit;
    }
}

TEST(picture_damage, of_a_png_file_is_named) {
    const std::string start = "89504e470d0a1a0a";
    const std::string header = "0000000d4948445200000001000000010802000000907753de";
    const std::string data = "0000000c4944415478da633823240e0002a300f679db1952";
    const std::string end = "0000000049454e44ae426082";
    const auto png = [&](const std::string& chunks) { return samples::bytes(start + chunks); };
    _expect_damage(
        {{"image/png", png(header + data + end), ""},
         {"image/png", samples::bytes("89504e470a1a0a0000000000") + "more",
          "its signature is wrong"},
         {"image/png", png("0000000374455874610062dc49a23b" + header + data + end),
          "it does not begin with its header"},
         {"image/png", png(header + end), "it holds no picture data"},
         {"image/png", png(header + data), "the file ends within its chunks, before the end chunk"},
         {"image/png", png(header + data.substr(0, 30)), "the file ends within its chunk IDAT"},
         {"image/png", png(header + "ffffffff4944415400000000"),
          "the file ends within its chunk IDAT"},
         {"image/png", png(header + "0000000049443454" + "67e78bad" + data + end),
          "no chunk begins where one has to"},
         {"image/png", png(header + data.substr(0, 46) + "53" + end),
          "the checksum of its chunk IDAT is wrong"}});
}

TEST(picture_damage, of_a_png_header_is_named_although_its_checksum_is_right) {
    const std::string start = "89504e470d0a1a0a";
    const std::string rest =
        "0000000c4944415478da633823240e0002a300f679db19520000000049454e44ae426082";
    const auto png = [&](const char* header) { return samples::bytes(start + header + rest); };
    const char* const size = "its header tells a size that cannot be";
    const char* const colours = "its header tells colours that cannot be";
    const char* const methods = "its header tells methods that are not known";
    _expect_damage(
        {{"image/png", png("0000000d49484452000000000000000108020000007fb538e0"), size},
         {"image/png", png("0000000d49484452000000018000000008020000003d7e8034"), size},
         {"image/png", png("0000000449484452000000018509d9f6"), size},
         {"image/png", png("0000000d4948445200000001000000010302000000e7a762cf"), colours},
         {"image/png", png("0000000d49484452000000010000000108050000000da06b67"), colours},
         {"image/png", png("0000000d49484452000000010000000108020000027e7932f2"), methods},
         {"image/png", png("0000000d494844520000000100000001080201000091b539e9"), methods},
         {"image/png", png("0000000d494844520000000100000001080300000028cb34bb"),
          "its palette is missing"}});
}

TEST(picture_damage, of_other_formats_is_named) {
    const std::string jpeg = samples::jpeg();
    const std::string end_tag = "the file does not end with the end of its svg element";
    _expect_damage(
        {{"image/jpeg", jpeg.substr(0, jpeg.size() - 2),
          "the file ends within its picture data, before the end marker"},
         {"image/jpeg", samples::bytes("ffd8ffd9"), "it holds no picture data"},
         {"image/jpeg", samples::bytes("ffd80000ffd9"), "no segment begins where one has to"},
         {"image/jpeg", samples::bytes("ffd8ffe00001ffd9"),
          "a segment tells a length that cannot be"},
         {"image/jpeg", samples::bytes("ffc0ffd9"), "it does not begin with the start marker"},
         {"image/gif", samples::bytes("4749463839610100010000000000"),
          "no block begins where one has to"},
         {"image/gif", samples::bytes("474946383961010001000000003b"), "it holds no image"},
         {"image/webp", samples::bytes("524946460400000057454250"), "it holds no picture data"},
         {"image/tiff", samples::bytes("49492a0000000000"), "it holds no picture"},
         {"image/tiff", samples::bytes("49492a0008000000010011010400010000000800000000000000"),
          "the places and lengths of its data do not match"},
         {"image/vnd.microsoft.icon", samples::bytes("000001000000"), "it holds no picture"},
         {"image/heic", samples::bytes("000000046674797068656963"),
          "a box tells a length that cannot be"}});
}

// A reader that follows them would never end.
TEST(picture_damage, directories_that_lead_in_a_circle_are_one) {
    EXPECT_EQ(find_damage("image/tiff",
                          samples::bytes("49492a0008000000010000010400010000000200000008000000")),
              "its directories lead in a circle");
}

// The bytes that rows of this size take do not fit into 64 bits.
TEST(picture_damage, a_bmp_file_of_endless_rows_is_cut) {
    std::string endless = samples::bmp();
    endless.replace(18, 8, samples::bytes("ffffff7fffffff7f"));
    endless.replace(28, 2, samples::bytes("ffff"));
    EXPECT_EQ(find_damage("image/bmp", endless), "the file ends within its rows of pixels");
}

TEST(picture_damage, of_an_svg_file_is_told_by_its_end) {
    const std::string sound = samples::svg();
    const std::size_t length = sound.find_last_not_of('\n') + 1;
    for (std::size_t cut = 0; cut < length; ++cut) {
        EXPECT_NE(find_damage("image/svg+xml", sound.substr(0, cut)), "") << cut;
    }
    for (const char* rest : {"", "\n", "<!-- made by hand -->\n", "\n<?end?> <!-- > -->"}) {
        EXPECT_EQ(find_damage("image/svg+xml", sound + rest), "") << rest;
    }
    EXPECT_EQ(find_damage("image/svg+xml", "<s:svg xmlns:s=\"x\"></s:svg >"), "");
    EXPECT_NE(find_damage("image/svg+xml", sound + std::string(100, '\0')), "");
}

TEST(picture_damage, is_not_sought_in_what_is_not_known) {
    EXPECT_EQ(find_damage("image/x-unheard-of", "anything"), "");
    EXPECT_EQ(find_damage("application/octet-stream", samples::png_with_alpha().substr(0, 20)), "");
    EXPECT_EQ(find_damage("image/tiff", samples::bytes("49492b00080000001000000000000000")), "");
    EXPECT_EQ(find_damage("image/svg+xml", samples::bytes("fffe3c0073007600")), "");
}
