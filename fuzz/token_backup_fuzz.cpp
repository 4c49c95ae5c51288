// The admin tool's files from outside. Any file can be offered as a snapshot: it is refused and
// nothing changes, or it is restored and the token is sound. Any bytes can be loaded into a slot,
// and come out of it again.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>

#include "admin/arguments.h"
#include "admin/token_check.h"
#include "any_token.h"
#include "fuzz_support.h"
#include "store/failure.h"
#include "store/new_token.h"
#include "store/plug.h"
#include "store/token_files.h"

using namespace vemra::softtoken;
using namespace vemra::softtoken::admin;

// Nobody pulls the plug here, and the disk is slow.
extern "C" int fsync(int /*file*/) {
    return 0;
}
extern "C" int fdatasync(int /*file*/) {
    return 0;
}

namespace {

/** One command of the admin tool; tells whether it did its work. */
bool _run(const std::string& command) {
    CLI::App program;
    add_slot_commands(program);
    add_snapshot_commands(program);
    try {
        program.parse(command);
        return true;
    } catch (const command_failure& refusal) {
        claim(*refusal.what() != '\0', "a refusal has a reason");
    } catch (const failure& refusal) {
        claim(refusal.code() != error_code::internal, "each failure has a code of its own");
    }
    return false;
}

/** A folder with a token that each input finds as it was made, and a snapshot of it. */
class playground {
public:
    playground() {
        std::string pattern = std::filesystem::temp_directory_path() / "backup_fuzz_XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for tokens");
        base_ = pattern;
        std::filesystem::create_directory(root());
        setenv("VEMRA_SOFTTOKEN_DIR", root().c_str(), 1);
        new_token token;
        token.info.serial_number = "SN";
        token.info.type = 3;
        token.info.label = "one";
        token.password = "12345678";
        token.password_cost = lowest_password_cost;
        create_token(root(), "one", token);
        fill_token(directory(), "00000000000000000000000000000001");
        token_ = content_of(database_path(directory()));
        claim(_run("snapshot one " + file()), "a token is written out");
        snapshot_ = content_of(file());
        std::atexit([] { std::filesystem::remove_all(the().base_); });
    }

    static playground& the() {
        static playground& one = *new playground;
        return one;
    }

    std::string root() const { return base_ + "/tokens"; }
    std::string directory() const { return root() + "/one"; }
    std::string file() const { return base_ + "/file"; }
    std::string second_file() const { return base_ + "/second"; }
    const std::string& snapshot() const { return snapshot_; }

    void begin_anew() const {
        std::filesystem::remove_all(root());
        std::filesystem::create_directories(directory());
        std::filesystem::permissions(directory(), std::filesystem::perms::owner_all);
        _write(database_path(directory()), token_);
        std::filesystem::permissions(
            database_path(directory()),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }
    void give(const std::string& bytes) const { _write(file(), bytes); }

    /** The names in the folder of tokens, and the token's bytes. */
    std::set<std::string> state() const {
        std::set<std::string> result{content_of(database_path(directory()))};
        for (const auto& entry : std::filesystem::directory_iterator(root()))
            result.insert(entry.path());
        return result;
    }

private:
    static void _write(const std::string& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
    }

    std::string base_;
    std::string token_;
    std::string snapshot_;
};

void _restore(choices& input, char kind, const playground& place) {
    place.give(token_bytes(input, kind, place.snapshot()));
    if (kind == 'V') change_values(input, place.file());
    const std::string offered = content_of(place.file());
    const std::set<std::string> before = place.state();
    const bool is_restored = _run("restore one " + place.file());
    claim(content_of(place.file()) == offered, "a snapshot is only read");
    if (!is_restored) {
        claim(place.state() == before, "a refused snapshot changes nothing");
        return;
    }
    for (const finding& each : check_token(place.directory(), "one"))
        claim(!each.is_of_all, "a restored token is sound but for damage to single parts");
    std::filesystem::remove(place.second_file());
    claim(_run("snapshot one " + place.second_file()), "a restored token is written out again");
}

void _load(choices& input, const playground& place) {
    constexpr int slots[] = {8130, 8131, 8127, 0, 2147483647};
    const std::string slot = std::to_string(slots[input.byte() % 5]);
    const std::string bytes = input.rest();
    place.give(bytes);
    claim(_run("load one " + slot + " " + place.file()), "any bytes can be loaded");
    claim(_run("dump one " + slot + " " + place.second_file()), "what was loaded is dumped");
    claim(content_of(place.second_file()) == bytes, "it is the same bytes");
    claim(check_token(place.directory(), "one").empty(), "a token with loaded bytes is sound");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const playground& place = playground::the();
    place.begin_anew();
    choices input(data, size);
    const char kind = static_cast<char>(input.byte());
    if (kind == 'L') {
        _load(input, place);
    } else {
        _restore(input, kind, place);
    }
    return 0;
}
