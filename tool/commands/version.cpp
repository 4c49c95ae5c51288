#include "commands/commands.h"

namespace vemra::tool {

namespace {

void _version(context& run) {
    run.result["tool"] = VEMRA_STAMP_VERSION;
    run.result["library"] = nullptr;
    run.out.print("vemra-stamp " VEMRA_STAMP_VERSION "\n");
    try {
        const std::string library =
            run.tokens().ask([](const token_reader& all) { return all.library_version(); });
        run.result["library"] = library;
        run.out.print("stamp library " + library + "\n");
    } catch (const failure& error) {
        run.out.print("stamp library not loaded\n");
        run.out.detail(error.what());
    }
}

}  // namespace

void add_version(CLI::App& program, context& run) {
    program.add_subcommand("version", "Tell the versions of tool and library")->callback([&run] {
        _version(run);
    });
}

}  // namespace vemra::tool
