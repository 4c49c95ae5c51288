/** vemra-softtoken, the admin tool of the software token. */
#include <cerrno>
#include <cstdio>
#include <exception>
#include <string>

#include "admin/arguments.h"
#include "command_line/hardening.h"
#include "command_line/input_error.h"
#include "command_line/interruption.h"
#include "command_line/lost_output.h"
#include "command_line/text.h"
#include "command_line/usage.h"
#include "store/failure.h"

using namespace vemra::softtoken;
using namespace vemra::softtoken::admin;

namespace {

void _say(const std::string& text) {
    std::fprintf(stderr, "vemra-softtoken: %s\n", text.c_str());
}

void _add_commands(CLI::App& program) {
    program.require_subcommand(1);
    program.set_version_flag("--version", "vemra-softtoken " VEMRA_SOFTTOKEN_VERSION);
    program.footer(
        "Tokens lie in the directory VEMRA_SOFTTOKEN_DIR, by default\n"
        "$XDG_DATA_HOME/vemra-softtoken or ~/.local/share/vemra-softtoken.");
    add_token_commands(program);
    add_password_commands(program);
    add_certificate_commands(program);
    add_profile_commands(program);
    add_fault_commands(program);
    add_slot_commands(program);
    add_snapshot_commands(program);
    add_fsck_command(program);
    add_exec_command(program);
}

int _run(int argc, char** argv) {
    CLI::App program("Makes and manages software tokens, stand-ins for hardware crypto devices.",
                     "vemra-softtoken");
    _add_commands(program);
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success& asked) {
        program.exit(asked);
    } catch (const CLI::ParseError& error) {
        const std::string command = vemra::chosen_command(program);
        _say(vemra::usage_reason(program, error) + "\nSee: vemra-softtoken " +
             (command.empty() ? "" : command + " ") + "--help");
        return exit_usage;
    }
    return exit_done;
}

const char* _advice(error_code code) {
    switch (code) {
        case error_code::damaged:
            return ": see what \"vemra-softtoken fsck\" says";
        case error_code::busy:
            return ": another program holds the token, try again when it is done";
        default:
            return "";
    }
}

// What was asked is done by then, but nobody was told.
int _finish(int status) {
    errno = 0;
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    _say(vemra::lost_output(errno, {}).what());
    return status == exit_done ? static_cast<int>(exit_failed) : status;
}

int _complain(int status, const char* message) {
    const int told = _finish(status);
    _say(vemra::printable(message));
    return told;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        vemra::harden();
        vemra::use_utf8();
        vemra::interruption::start();
        return _finish(_run(argc, argv));
    } catch (const vemra::lost_output& error) {
        _say(error.what());
        return exit_failed;
    } catch (const vemra::input_error& error) {
        return _complain(exit_usage, error.what());
    } catch (const command_failure& error) {
        return _complain(error.status(), error.what());
    } catch (const failure& error) {
        const int status = error.code() == error_code::bad_argument ? exit_usage : exit_failed;
        return _complain(status, (error.what() + std::string(_advice(error.code()))).c_str());
    } catch (const std::exception& error) {
        return _complain(exit_failed, error.what());
    }
}
