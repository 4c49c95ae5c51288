/** The program's commands and options. */
#pragma once

#include <CLI/CLI.hpp>

#include "commands/context.h"

namespace vemra::tool {

/** Fills a program whose commands run on `run` while it parses. */
void build_command_line(CLI::App& program, context& run);

}  // namespace vemra::tool
