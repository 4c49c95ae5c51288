/** What the commands share that put stamps back which were kept. */
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "commands/context.h"
#include "keep/restore.h"

namespace vemra::tool {

struct restore_options {
    device_choice device;
    std::vector<std::string> directories;
    restore_rule rule;
    bool discard = false;
};

/** Adds all of them but the directories. */
void add_restore_options(CLI::App& command, restore_options& options);

/**
 * Restores each directory and tells what became of its stamps; a directory that a change left
 * behind, and of which nothing was left out, may then be discarded.
 */
void restore_directories(context& run, const restore_options& options);

/** Discards it if that is wanted already or the person says so; tells where it is otherwise. */
void offer_to_discard(context& run, const std::string& directory, bool is_wanted);

}  // namespace vemra::tool
