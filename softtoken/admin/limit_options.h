/** The options that set how a token behaves: a named profile, and single values over it. */
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>

#include "store/token_info.h"

namespace vemra::softtoken::admin {

/* How a token behaves: what a profile names, and what single options set over it. */
struct token_profile {
    token_limits limits;
    login_scope login = login_scope::process;
    int retries = 10;
};

/* The options, and what was given for them. It must live until the command line is parsed. */
class limit_options {
public:
    void add_to(CLI::App& command);
    /*
     * Sets what was given, the named profile first; what was not given stays. Throws
     * command_failure (usage) for limits that no token can have.
     */
    void apply_to(token_profile& profile) const;
    /* Whether any of the options was given. */
    bool is_given() const;

private:
    std::string profile_;
    std::string login_;
    std::optional<int> retries_;
    std::optional<std::int64_t> capacity_;
    std::optional<std::int64_t> slot_size_;
    std::optional<std::int64_t> slots_;
    std::optional<std::int64_t> call_milliseconds_;
    std::optional<std::int64_t> bytes_per_second_;
};

}  // namespace vemra::softtoken::admin
