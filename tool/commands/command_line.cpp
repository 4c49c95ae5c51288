#include "commands/command_line.h"

#include <unistd.h>

#include "command_line/open_descriptor.h"
#include "commands/commands.h"
#include "commands/number_check.h"

namespace vemra::tool {

namespace {

constexpr const char* program_footer =
    "A SELECTOR is a stamp's uuid, a unique beginning of it (8 digits or more), or name:TEXT.\n"
    "More about a command: vemra-stamp help COMMAND\n\n"
    "Exit codes: 0 done, 1 device or data failure, 2 usage or bad input, 3 wrong password,\n"
    "4 device locked, 5 no such device or no device library, 6 no such stamp, 7 device full,\n"
    "8 ambiguous selector, 9 check after writing failed, 10 partial result,\n"
    "11 device in use by another run, 130 interrupted.";

constexpr const char* command_footer =
    "A SELECTOR is a stamp's uuid, a unique beginning of it (8 digits or more), or name:TEXT.\n"
    "The options of every command, and the exit codes: vemra-stamp help";

// With a file of its own, or on standard error.
void _add_debug(CLI::App& program, common_options& options) {
    program.add_flag("--debug{-}", options.debug,
                     "Show the library's trace, passwords masked: --debug, or --debug=FILE");
}

void _add_common(CLI::App& program, common_options& options) {
    program.add_flag("--json", options.json, "Print one JSON object");
    program.add_flag("-q,--quiet", options.quiet, "No notes and no warnings");
    program.add_flag("-v,--verbose", options.verbose, "Say more");
    program.add_flag("--no-input", options.no_input, "Never ask on the terminal");
    program.add_option("--password-fd", options.password_fd, "Read the password from a descriptor")
        ->check(number_from_0())
        ->check(open_descriptor())
        ->type_name("N");
    program.add_option("--password-file", options.password_file, "Read the password from a file")
        ->excludes("--password-fd")
        ->type_name("FILE");
    program.add_option("--timeout", options.timeout, "Seconds to wait for another run")
        ->check(number_from_0())
        ->capture_default_str()
        ->type_name("SECONDS");
    _add_debug(program, options);
}

}  // namespace

void build_command_line(CLI::App& program, context& run) {
    program.require_subcommand(1);
    program.fallthrough();
    program.get_formatter()->label("SUBCOMMAND", "COMMAND");
    program.get_formatter()->label("Subcommands", "Commands");
    program.set_version_flag("--version", "vemra-stamp " VEMRA_STAMP_VERSION);
    _add_common(program, run.options);
    // The commands take over the footer that there is while they are added.
    program.footer(command_footer);

    add_devices(program, run);
    add_list(program, run);
    add_show(program, run);
    add_export(program, run);
    add_append(program, run);
    add_update(program, run);
    add_delete(program, run);
    add_sheet(program, run);
    add_check(program, run);
    add_backup(program, run);
    add_restore(program, run);
    add_recovery(program, run);
    add_verify_password(program, run);
    add_version(program, run);
    add_completion(program, run);
    add_help(program, run);
    program.footer(program_footer);
}

}  // namespace vemra::tool
