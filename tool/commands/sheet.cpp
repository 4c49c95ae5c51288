#include <algorithm>

#include "commands/commands.h"
#include "commands/html.h"
#include "files/file.h"
#include "keep/listing.h"

namespace vemra::tool {

namespace {

struct sheet_options {
    std::string file;
    bool force = false;
};

void _sheet(context& run, const sheet_options& options) {
    if (options.file == "-") {
        throw failure(exit_code::usage, "the page goes to a file: give -o FILE.html");
    }
    const held_stamps list = list_stamps(run.tokens());
    warn_of_unread(run, list);
    write_file(options.file, make_sheet(list), options.force ? existing::replace : existing::keep);
    run.result["file"] = options.file;
    run.result["stamps"] = std::count_if(list.stamps.begin(), list.stamps.end(),
                                         [](const stamp& one) { return one.is_readable(); });
    run.out.done("look at " + options.file + " in a browser");
}

}  // namespace

void add_sheet(CLI::App& program, context& run) {
    auto options = std::make_shared<sheet_options>();
    CLI::App* command =
        program.add_subcommand("sheet", "Make a page that shows every stamp's picture");
    command->add_option("-o,--output", options->file, "The page to write")
        ->required()
        ->type_name("FILE.html");
    command->add_flag("--force", options->force, "Replace a page that exists");
    add_lock_option(*command, run);
    command->callback([&run, options] { _sheet(run, *options); });
}

}  // namespace vemra::tool
