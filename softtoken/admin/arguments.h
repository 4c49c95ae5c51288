/** What the commands share: how they end, what they tell, and how they are added to the command
 * line. */
#pragma once

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace vemra::softtoken::admin {

/* What the program ends with; exec ends with the status of the program that it ran. */
enum exit_status {
    exit_done = 0,
    exit_failed = 1,
    exit_usage = 2,
    exit_wrong_password = 3,
    exit_other_library = 125,
    exit_cannot_run = 126,
    exit_not_found = 127,
    exit_interrupted = 130, /* as command_line/interruption.h ends a program */
};

/* Ends the program with a message that says what was wrong and what to do. */
class command_failure : public std::runtime_error {
public:
    command_failure(int status, const std::string& message)
        : std::runtime_error(message), status_(status) {}
    int status() const noexcept { return status_; }

private:
    int status_;
};

/*
 * Prints what was changed, in printable lines. Throws lost_output, which tells it too, when nobody
 * can read it.
 */
void tell_done(const std::vector<std::string>& lines);

/* Adds the positional argument that names a token; name must live until it is parsed. */
void add_token_name(CLI::App& command, std::string& name);

/* Each adds its commands to the program; a command runs when the command line is parsed. */
void add_token_commands(CLI::App& program);
void add_password_commands(CLI::App& program);
void add_certificate_commands(CLI::App& program);
void add_profile_commands(CLI::App& program);
void add_fault_commands(CLI::App& program);
void add_slot_commands(CLI::App& program);
void add_snapshot_commands(CLI::App& program);
void add_fsck_command(CLI::App& program);
void add_exec_command(CLI::App& program);

}  // namespace vemra::softtoken::admin
