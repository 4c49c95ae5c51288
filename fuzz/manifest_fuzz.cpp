// The manifest of a backup may come from anybody. Whatever it says, reading it ends, with a reason
// or with what only a backup says; and the reader opens no file but those beside it.

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>

#include "basics/digest.h"
#include "basics/failure.h"
#include "command_line/text.h"
#include "files/archive.h"
#include "files/file.h"
#include "files/manifest.h"
#include "fuzz_support.h"

using namespace vemra::tool;

namespace {

const std::string inside = "bytes beside the manifest";
const std::string outside = "bytes of somebody else's";

/** A folder with the files of a backup, and one beside it that no manifest may lead to. */
class playground {
public:
    playground() {
        std::string pattern = std::filesystem::temp_directory_path() / "manifest_fuzz_XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for a backup");
        base_ = pattern;
        std::filesystem::create_directory(directory());
        std::ofstream(base_ + "/secret") << outside;
        std::ofstream(directory() + "/stamp-1.png") << inside;
        std::ofstream(directory() + "/stamp-2.png") << inside;
        std::filesystem::create_symlink(base_ + "/secret", directory() + "/link");
        std::atexit([] { std::filesystem::remove_all(the().base_); });
    }

    static playground& the() {
        static playground& one = *new playground;
        return one;
    }

    std::string directory() const { return base_ + "/kept"; }

private:
    std::string base_;
};

std::string _sound_manifest(const std::string& bytes, const std::string& file) {
    manifest listed{"SN", 3, {}};
    listed.stamps.push_back({"one", 8130, "\1\2", inside.size(), sha256(inside), "stamp-1.png"});
    listed.stamps.push_back({"two", 0, "", bytes.size(), sha256(bytes), file});
    return print_manifest(listed, "");
}

/** A sound manifest, or one that leads astray, with parts replaced; or just any text. */
std::string _drawn_text(choices& drawn) {
    constexpr std::array<const char*, 4> files{"stamp-2.png", "link", "../secret", "/dev/zero"};
    if (drawn.byte() % 4 == 0) return drawn.rest();
    const std::size_t file = drawn.byte() % files.size();
    std::string text = _sound_manifest(file == 0 ? inside : outside, files[file]);
    for (int edits = drawn.byte() % 4; edits > 0; --edits) {
        const std::size_t at = static_cast<unsigned int>(drawn.number()) % (text.size() + 1);
        text.replace(at, drawn.byte() % 16, drawn.text());
    }
    return text;
}

void _expect_what_a_backup_says(const manifest& read) {
    claim(read.stamps.size() <= 16, "no device holds so many stamps");
    std::set<std::string> files;
    for (const manifest::entry& one : read.stamps) {
        claim(one.file.find('/') == std::string::npos && one.file != "." && one.file != ".." &&
                  !one.file.empty(),
              "a file lies in the manifest's directory");
        claim(files.insert(one.file).second, "each stamp has a file of its own");
        claim(one.slot == 0 || (one.slot >= 8130 && one.slot <= 8134), "a slot is one of stamps");
        claim(one.bytes <= most_stamp_bytes, "no stamp is so large");
        claim(one.sha256.size() == 64, "a digest has its length");
    }
    const std::string printed = print_manifest(read, "");
    claim(print_manifest(parse_manifest(printed), "") == printed, "what was read can be written");
}

void _read_directory() {
    try {
        for (const archived_stamp& one : read_archive(playground::the().directory()).stamps) {
            claim(one.data.get() == inside, "only what lies beside the manifest is read");
        }
    } catch (const failure& refusal) {
        claim(refusal.code() == exit_code::failed || refusal.code() == exit_code::usage,
              "a refusal is named");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool is_ready = (vemra::use_utf8(), true);
    static_cast<void>(is_ready);
    choices drawn(data, size);
    const std::string text = _drawn_text(drawn);
    try {
        _expect_what_a_backup_says(parse_manifest(text));
    } catch (const damaged_manifest& refusal) {
        claim(*refusal.what() != '\0', "a refusal has a reason");
    }
    std::ofstream(playground::the().directory() + "/manifest.json") << text;
    _read_directory();
    return 0;
}
