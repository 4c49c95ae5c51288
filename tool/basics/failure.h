/** How a command ends: the exit codes, and the exception that carries one with its cause. */
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>

namespace vemra::tool {

using json = nlohmann::ordered_json;

enum class exit_code : int {
    done = 0,
    failed = 1,
    usage = 2,
    wrong_password = 3,
    locked = 4,
    no_device = 5,
    no_stamp = 6,
    device_full = 7,
    ambiguous = 8,
    check_failed = 9,
    partial = 10,
    lock_timeout = 11,
    interrupted = 130
};

/** A command's end in failure. what() is for people; details() join the error of --json. */
class failure : public std::runtime_error {
public:
    failure(exit_code code, const std::string& message, json details = json::object())
        : std::runtime_error(message), code_(code), details_(std::move(details)) {}

    exit_code code() const noexcept { return code_; }
    const json& details() const noexcept { return details_; }

private:
    exit_code code_;
    json details_;
};

}  // namespace vemra::tool
