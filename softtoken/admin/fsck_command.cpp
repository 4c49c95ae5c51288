#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>

#include "admin/arguments.h"
#include "admin/token_check.h"
#include "admin/token_folder.h"
#include "command_line/text.h"
#include "store/durable_files.h"
#include "store/failure.h"
#include "store/new_token.h"
#include "store/plug.h"
#include "store/token_draft.h"
#include "store/token_files.h"

namespace vemra::softtoken::admin {

namespace {

bool _is_sound(const std::string& directory, const std::string& name) {
    findings found = check_token(directory, name);
    for (const finding& each : found)
        std::printf("%s: %s: %s\n", printable(name).c_str(), printable(each.what).c_str(),
                    printable(each.advice).c_str());
    if (found.empty()) std::printf("%s: sound\n", printable(name).c_str());
    return found.empty();
}

// Directories in which nothing of a token lies are somebody's own. One that cannot be looked into
// may hold a token.
bool _may_be_token(const std::string& directory) {
    try {
        return identify(database_path(directory)) || find_plug(plug_path(directory));
    } catch (const failure&) {
        return true;
    }
}

// Whatever was left holds keys and pictures of a token, under a name that nobody looks at.
bool _nothing_was_left(const std::string& root, bool clear) {
    hidden_tokens hidden = find_hidden_tokens(root);
    for (const std::string& path : hidden.damaged) {
        std::printf(
            "%s: a damaged token that \"restore\" kept, with its keys: remove it when nothing "
            "is to be saved from it\n",
            printable(path).c_str());
    }
    if (clear) {
        for (const std::string& path : hidden.left)
            std::filesystem::remove_all(path);
        if (!hidden.left.empty()) sync_directory(root);
    }
    for (const std::string& path : hidden.left) {
        std::printf("%s: left by a program that was killed, with a token's keys: %s\n",
                    printable(path).c_str(), clear ? "cleared" : "run \"fsck --clear\"");
    }
    return clear || hidden.left.empty();
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
    std::printf("%s: a copy of \"%s\" beside it: move one of them elsewhere\n",
                printable(name).c_str(), printable(first->second).c_str());
    return false;
}

bool _all_are_sound(bool clear) {
    std::string root = root_directory();
    std::map<std::string, std::string> known;
    bool all = true;
    for (const std::string& name : token_names(root)) {
        std::string directory = root + "/" + name;
        if (!_may_be_token(directory)) continue;
        all &= _is_sound(directory, name);
        all &= _is_single(directory, name, known);
    }
    return _nothing_was_left(root, clear) && all;
}

// A token that cannot be looked at is told by its check, not taken for missing.
std::string _directory_of(const std::string& name) {
    require_token_name(name);
    std::string directory = root_directory() + "/" + name;
    return _may_be_token(directory) ? directory : directory_of(name);
}

void _fsck(const std::string& name, bool clear) {
    bool sound = name.empty() ? _all_are_sound(clear) : _is_sound(_directory_of(name), name);
    if (!sound) throw command_failure(exit_failed, "not all is sound: see the lines above");
}

}  // namespace

void add_fsck_command(CLI::App& program) {
    auto name = std::make_shared<std::string>();
    auto clear = std::make_shared<bool>(false);
    CLI::App* command = program.add_subcommand("fsck", "Check one token, or all of them");
    command->add_option("TOKEN", *name, "The token's name; all tokens when left out");
    command->add_flag("--clear", *clear, "Remove hidden copies that killed programs left");
    command->callback([name, clear] { _fsck(*name, *clear); });
}

}  // namespace vemra::softtoken::admin
