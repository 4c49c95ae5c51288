#include "store/fault_file.h"

#include <stdio.h>
#include <unistd.h>

#include <cstdio>
#include <optional>

#include "store/durable_files.h"
#include "store/failure.h"
#include "store/plain_file.h"
#include "store/plug.h"
#include "store/token_owner.h"

namespace vemra::softtoken {

namespace {

// Far more than anybody writes; the rest of a longer file is not read.
constexpr std::size_t most_bytes = std::size_t{1} << 20;

std::string _path(const std::string& token_directory) {
    return token_directory + "/faults";
}

}  // namespace

std::vector<fault> read_faults(const std::string& token_directory) {
    std::string path = _path(token_directory);
    std::optional<std::string> text = read_plain_file(path, most_bytes);
    if (!text) return {};
    try {
        return parse_faults(*text);
    } catch (const failure& error) {
        throw failure(
            error_code::damaged,
            path + ": " + error.what() + "; take the token's faults off with \"fault clear\"");
    }
}

void write_faults(const std::string& token_directory, const std::vector<fault>& faults) {
    std::string path = _path(token_directory);
    std::string draft = path + ".new";
    std::string text;
    for (const fault& each : faults)
        text += each.text + "\n";
    std::FILE* file = fdopen(make_token_file(token_directory, "faults.new"), "w");
    if (file == nullptr) fail_with_errno(draft);
    bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size() &&
                   std::fflush(file) == 0 && fsync(fileno(file)) == 0;
    if (std::fclose(file) != 0 || !written) fail_with_errno(draft);
    if (std::rename(draft.c_str(), path.c_str()) != 0) fail_with_errno(path);
    sync_directory(token_directory);
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
