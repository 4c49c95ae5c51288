// vemra-stamp: puts stamps on devices, shows them, and takes care of both.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

#include "basics/text.h"
#include "command_line/hardening.h"
#include "command_line/interruption.h"
#include "command_line/usage.h"
#include "commands/command_line.h"
#include "commands/context.h"
#include "commands/shapes.h"
#include "keep/trace.h"

namespace vemra::tool {

namespace {

constexpr int output_version = 1;

void _apply(context& run, trace& printed) {
    run.out.set_json(run.options.json);
    run.out.set_quiet(run.options.quiet);
    run.out.set_verbose(run.options.verbose);
    if (run.options.debug == "-")
        printed.show_on(STDERR_FILENO);
    else if (!run.options.debug.empty())
        printed.show_in_file(run.options.debug);
}

void _print_json(context& run, const std::string& command, exit_code code, const json& error) {
    const json object{
        {"format", "vemra-stamp output"},      {"version", output_version}, {"command", command},
        {"exit_code", static_cast<int>(code)}, {"result", run.result},      {"error", error},
        {"warnings", run.out.warnings()}};
    // Names on a device may be any bytes; what is not UTF-8 is shown as U+FFFD.
    run.out.write(object.dump(-1, ' ', false, json::error_handler_t::replace) + "\n");
}

exit_code _report(context& run, const CLI::App& program, const failure& error) {
    output::error(message_of(error));
    if (run.out.is_json() && !run.out.is_broken())
        _print_json(run, chosen_command(program), error.code(), error_json(error));
    return error.code();
}

failure _usage_failure(const CLI::App& program, const CLI::ParseError& error) {
    const std::string command = chosen_command(program);
    return failure(exit_code::usage, usage_reason(program, error) + "\nSee: vemra-stamp help" +
                                         (command.empty() ? "" : " " + command));
}

void _tell_of_cut_trace(context& run, const trace& printed) {
    if (!printed.is_cut()) return;
    run.out.warn("the library's trace could not be written whole");
    if (run.code == exit_code::done) run.code = exit_code::partial;
}

// Parsing runs the command. A usage error is found before the options are applied.
exit_code _run(CLI::App& program, context& run, const trace& printed, int argc, char** argv) {
    try {
        program.parse(argc, argv);
        _tell_of_cut_trace(run, printed);
        if (interruption::is_pending()) run.code = exit_code::interrupted;
        if (run.out.is_json()) _print_json(run, chosen_command(program), run.code, nullptr);
        return run.code;
    } catch (const CLI::CallForHelp&) {
        run.out.print(program.help());
        return exit_code::done;
    } catch (const CLI::CallForVersion& version) {
        run.out.print(std::string(version.what()) + "\n");
        return exit_code::done;
    } catch (const CLI::ParseError& error) {
        for (int i = 1; i < argc; ++i) {
            if (std::string_view(argv[i]) == "--json") run.out.set_json(true);
        }
        return _report(run, program, _usage_failure(program, error));
    } catch (const failure& error) {
        return _report(run, program, error);
    } catch (const std::exception& error) {
        return _report(run, program, failure(exit_code::failed, error.what()));
    }
}

int _main(int argc, char** argv) {
    harden();
    trace printed;
    interruption::start();
    use_utf8();
    context run(printed);
    CLI::App program("Puts electronic seal pictures on crypto devices and shows them.",
                     "vemra-stamp");
    build_command_line(program, run);
    program.parse_complete_callback([&] { _apply(run, printed); });
    return static_cast<int>(_run(program, run, printed, argc, argv));
}

}  // namespace

}  // namespace vemra::tool

int main(int argc, char** argv) {
    try {
        return vemra::tool::_main(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vemra-stamp: %s\n", error.what());
        return static_cast<int>(vemra::tool::exit_code::failed);
    }
}
