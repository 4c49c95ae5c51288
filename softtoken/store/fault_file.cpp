#include "store/fault_file.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "store/descriptor_limit.h"
#include "store/durable_files.h"
#include "store/failure.h"
#include "store/plug.h"

namespace vemra::softtoken {

namespace {

std::string _path(const std::string& token_directory) {
    return token_directory + "/faults";
}

}  // namespace

std::vector<fault> read_faults(const std::string& token_directory) {
    std::string path = _path(token_directory);
    std::ifstream file(path);
    if (!file && is_descriptor_limit(errno)) fail_with_errno(path);
    if (!file) return {};
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    try {
        return parse_faults(text);
    } catch (const failure& error) {
        throw failure(
            error_code::damaged,
            path + ": " + error.what() + "; take the token's faults off with \"fault clear\"");
    }
}

void write_faults(const std::string& token_directory, const std::vector<fault>& faults) {
    std::string path = _path(token_directory);
    std::string draft = path + ".new";
    {
        std::ofstream file(draft);
        for (const fault& each : faults)
            file << each.text << "\n";
        if (!file.flush()) fail_with_errno(draft);
    }
    std::filesystem::permissions(
        draft, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    if (std::rename(draft.c_str(), path.c_str()) != 0) fail_with_errno(path);
    note_changed_settings(token_directory);
}

bool remove_fault(const std::string& token_directory, const std::string& text) {
    std::vector<fault> faults = read_faults(token_directory);
    for (auto each = faults.begin(); each != faults.end(); ++each) {
        if (each->text != text) continue;
        faults.erase(each);
        write_faults(token_directory, faults);
        return true;
    }
    return false;
}

}  // namespace vemra::softtoken
