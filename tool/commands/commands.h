/** The commands, one file each. Each function adds one to the program. */
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "commands/context.h"
#include "keep/listing.h"
#include "keep/verification.h"

namespace vemra::tool {

void add_devices(CLI::App& program, context& run);
void add_list(CLI::App& program, context& run);
void add_show(CLI::App& program, context& run);
void add_export(CLI::App& program, context& run);
void add_append(CLI::App& program, context& run);
void add_update(CLI::App& program, context& run);
void add_delete(CLI::App& program, context& run);
void add_sheet(CLI::App& program, context& run);
void add_check(CLI::App& program, context& run);
void add_backup(CLI::App& program, context& run);
void add_restore(CLI::App& program, context& run);
void add_recovery(CLI::App& program, context& run);
void add_verify_password(CLI::App& program, context& run);
void add_version(CLI::App& program, context& run);
void add_completion(CLI::App& program, context& run);
void add_help(CLI::App& program, context& run);

/* What several commands share. */

/** Adds --device and --device-type. */
void add_device_options(CLI::App& command, device_choice& device);

/** Adds --no-lock, for a command that only reads. */
CLI::Option* add_lock_option(CLI::App& command, context& run);

/** Adds --verify, for a command that changes stamps. */
void add_verify_option(CLI::App& command, verification& how);

/** Behind what was done: ", verified", or how far it was. */
std::string verified(verification how);

/** Warns of what could not be read; the command then ends as a partial result. */
void warn_of_unread(context& run, const held_stamps& held);

/** Warns of errors; the command then ends as a partial result. */
void warn_of_errors(context& run, const std::vector<std::string>& errors);

}  // namespace vemra::tool
