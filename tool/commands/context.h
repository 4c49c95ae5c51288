/** What a command works with. */
#pragma once

#include <memory>
#include <nlohmann/json.hpp>

#include "basics/failure.h"
#include "commands/options.h"
#include "commands/output.h"
#include "commands/terminal_person.h"
#include "keep/session.h"
#include "keep/trace.h"

namespace vemra::tool {

using json = nlohmann::ordered_json;

/** The options of one run, what it prints, and the tokens it reaches. */
class context {
public:
    explicit context(trace& printed)
        : out(printed.original_output()), user(options, out), trace_(printed) {}

    common_options options;
    output out;
    terminal_person user;
    /** How the command ends when nothing is thrown. */
    exit_code code = exit_code::done;
    /** The command's data for --json. */
    json result = json::object();

    /** The tokens, reached when first asked for. */
    session& tokens();

private:
    trace& trace_;
    std::unique_ptr<session> session_;
};

}  // namespace vemra::tool
