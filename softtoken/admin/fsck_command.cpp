#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>

#include "admin/arguments.h"
#include "admin/token_check.h"
#include "admin/token_folder.h"
#include "store/failure.h"
#include "store/plug.h"
#include "store/token_files.h"

namespace vemra::softtoken::admin {

namespace {

bool _is_sound(const std::string& directory, const std::string& name) {
    findings found = check_token(directory, name);
    for (const finding& each : found)
        std::printf("%s: %s: %s\n", name.c_str(), each.what.c_str(), each.advice.c_str());
    if (found.empty()) std::printf("%s: sound\n", name.c_str());
    return found.empty();
}

// Directories in which nothing of a token lies are somebody's own.
bool _looks_like_token(const std::string& directory) {
    return identify(database_path(directory)) || find_plug(plug_path(directory));
}

// Two of one identity cannot be told apart; only the first would be seen.
bool _is_single(const std::string& directory, const std::string& name,
                std::map<std::string, std::string>& known) {
    std::string uid;
    try {
        uid = token_database(database_path(directory)).info().uid;
    } catch (const failure&) {
        return true;  // Told already.
    }
    auto [first, is_new] = known.emplace(uid, name);
    if (is_new) return true;
    std::printf("%s: a copy of \"%s\" beside it: move one of them elsewhere\n", name.c_str(),
                first->second.c_str());
    return false;
}

bool _all_are_sound() {
    std::string root = root_directory();
    std::map<std::string, std::string> known;
    bool all = true;
    for (const std::string& name : token_names(root)) {
        std::string directory = root + "/" + name;
        if (!_looks_like_token(directory)) continue;
        all &= _is_sound(directory, name);
        all &= _is_single(directory, name, known);
    }
    return all;
}

void _fsck(const std::string& name) {
    bool sound = name.empty() ? _all_are_sound() : _is_sound(directory_of(name), name);
    if (!sound) throw command_failure(exit_failed, "not all is sound: see the lines above");
}

}  // namespace

void add_fsck_command(CLI::App& program) {
    auto name = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("fsck", "Check one token, or all of them");
    command->add_option("TOKEN", *name, "The token's name; all tokens when left out");
    command->callback([name] { _fsck(*name); });
}

}  // namespace vemra::softtoken::admin
