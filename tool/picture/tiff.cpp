#include <array>

#include "picture/formats.h"

namespace vemra::tool {

namespace {

constexpr const char* directory = "directory";
constexpr std::uint64_t entry_bytes = 12;

// Bytes of one value, by the number of its type.
constexpr std::array<unsigned int, 14> value_bytes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};

struct value_list {
    std::uint64_t at = 0;
    std::uint64_t count = 0;
    unsigned int width = 0;
};

struct pieces {
    value_list places;
    value_list lengths;
};

class tiff_walk {
public:
    explicit tiff_walk(const file_bytes& file) : file_(file), is_big_(file.all().front() == 'M') {}

    void check_directories() {
        std::uint64_t at = _number(4, 4);
        if (at == 0) throw picture_damage("it holds no picture");
        while (at != 0) {
            at = _check_directory(at);
        }
    }

private:
    std::uint64_t _number(std::uint64_t at, unsigned int count) const {
        return is_big_ ? file_.big_endian(at, count, directory)
                       : file_.little_endian(at, count, directory);
    }

    // Directories may share what they name, or lead in a circle: more steps than the file has bytes
    // are none of a sound one.
    void _spend(std::uint64_t steps) {
        spent_ += steps;
        if (spent_ > file_.size()) throw picture_damage("its directories lead in a circle");
    }

    value_list _list(std::uint64_t entry) const {
        const std::uint64_t type = _number(entry + 2, 2);
        value_list found;
        found.count = _number(entry + 4, 4);
        found.width = type < value_bytes.size() ? value_bytes[type] : 0;
        const std::uint64_t bytes = found.count * found.width;
        // Four bytes and fewer stand in the entry itself.
        found.at = bytes <= 4 ? entry + 8 : _number(entry + 8, 4);
        file_.require(found.at, bytes, directory);
        return found;
    }

    void _check_pieces(const pieces& told) {
        const value_list& places = told.places;
        if (places.count != told.lengths.count) {
            throw picture_damage("the places and lengths of its data do not match");
        }
        _spend(places.count);
        for (std::uint64_t i = 0; i < places.count; ++i) {
            file_.require(_number(places.at + i * places.width, places.width),
                          _number(told.lengths.at + i * told.lengths.width, told.lengths.width),
                          "picture data");
        }
    }

    std::uint64_t _check_directory(std::uint64_t at) {
        const std::uint64_t entries = _number(at, 2);
        _spend(entries + 1);
        pieces strips;
        pieces tiles;
        for (std::uint64_t i = 0; i < entries; ++i) {
            const std::uint64_t entry = at + 2 + i * entry_bytes;
            const value_list list = _list(entry);
            switch (_number(entry, 2)) {
                case 273:
                    strips.places = list;
                    break;
                case 279:
                    strips.lengths = list;
                    break;
                case 324:
                    tiles.places = list;
                    break;
                case 325:
                    tiles.lengths = list;
                    break;
                default:
                    break;
            }
        }
        _check_pieces(strips);
        _check_pieces(tiles);
        return _number(at + 2 + entries * entry_bytes, 4);
    }

    const file_bytes& file_;
    bool is_big_;
    std::uint64_t spent_ = 0;
};

}  // namespace

void check_tiff(const file_bytes& file) {
    const std::string_view version = file.text(2, 2, directory);
    if (version.find('*') == std::string_view::npos) return;
    tiff_walk(file).check_directories();
}

}  // namespace vemra::tool
