/** A check for options that take a number. */
#pragma once

#include <CLI/CLI.hpp>

namespace vemra::tool {

/** Refuses what is not a number from 0 up. CLI11's own check names the largest double instead. */
CLI::Validator number_from_0();

}  // namespace vemra::tool
