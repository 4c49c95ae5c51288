#include "store/fault_file.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "store/durable_files.h"
#include "store/plug.h"

namespace vemra::softtoken {

namespace {

std::string _path(const std::string& token_directory) {
    return token_directory + "/faults";
}

}  // namespace

std::vector<fault> read_faults(const std::string& token_directory) {
    std::ifstream file(_path(token_directory));
    if (!file) return {};
    return parse_faults({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
}

void write_faults(const std::string& token_directory, const std::vector<fault>& faults) {
    std::string path = _path(token_directory);
    std::string draft = path + "." + std::to_string(getpid());
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

void remove_fault(const std::string& token_directory, const std::string& text) {
    std::vector<fault> faults = read_faults(token_directory);
    for (auto each = faults.begin(); each != faults.end(); ++each) {
        if (each->text != text) continue;
        faults.erase(each);
        write_faults(token_directory, faults);
        return;
    }
}

}  // namespace vemra::softtoken
