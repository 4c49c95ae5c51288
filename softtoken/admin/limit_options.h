/** The options that set a token's limits: a named profile, and single values over it. */
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>

#include "store/token_info.h"

namespace vemra::softtoken::admin {

class limit_options {
public:
    void add_to(CLI::App& command);
    void apply_to(token_limits& limits) const;

private:
    std::string profile_;
    std::optional<std::int64_t> capacity_;
    std::optional<std::int64_t> slot_size_;
    std::optional<std::int64_t> slots_;
    std::optional<std::int64_t> call_milliseconds_;
    std::optional<std::int64_t> bytes_per_second_;
};

}  // namespace vemra::softtoken::admin
