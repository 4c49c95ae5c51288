/** What a failure among several changes means. */
#pragma once

#include <cstddef>

#include "basics/failure.h"

namespace vemra::tool {

/** After the first change it is a partial result; an interruption stays one. */
inline failure after_changes(const failure& error, std::size_t changes) {
    if (changes == 0 || error.code() == exit_code::interrupted) return error;
    return {exit_code::partial, error.what(), error.facts()};
}

}  // namespace vemra::tool
