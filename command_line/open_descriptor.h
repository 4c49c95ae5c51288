/** A check for options that take the number of a descriptor. */
#pragma once

#include <CLI/CLI.hpp>

namespace vemra {

/**
 * Refuses the number of a descriptor that the program was not started with: its own files may have
 * that number, and would be read.
 */
CLI::Validator open_descriptor();

}  // namespace vemra
