/** What is wrong with how a program was called, in the words of people. */
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace vemra {

/** The commands that were chosen, as they are typed: "list", or "fault add"; empty for none. */
std::string chosen_command(const CLI::App& program);

/** What parsing threw, printable; the library that parses speaks of subcommands. */
std::string usage_reason(const CLI::App& program, const CLI::ParseError& error);

}  // namespace vemra
