/** How an operation ends: the named errors, and the exception that carries one with its facts. */
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vemra::tool {

/** The named errors; the command line ends with their numbers. */
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

/** What a failure knows beside its text. */
struct failure_facts {
    /** The device's own text and code; empty when it gave none. */
    std::string cause{};
    std::optional<int> attempts_left{};
    /** How a device differs from what it should hold; nothing when that was not looked at. */
    std::optional<std::vector<std::string>> differences{};
    /** The directory in which the overwritten stamps are kept; empty when there is none. */
    std::string recovery{};
    /** Serial number and type of the device whose list a repair would mend now. */
    std::optional<std::pair<std::string, int>> damaged_list{};
};

/** An operation's end in failure. what() is for people, facts() for programs. */
class failure : public std::runtime_error {
public:
    failure(exit_code code, const std::string& message, failure_facts facts = {})
        : std::runtime_error(message), code_(code), facts_(std::move(facts)) {}

    exit_code code() const noexcept { return code_; }
    const failure_facts& facts() const noexcept { return facts_; }

private:
    exit_code code_;
    failure_facts facts_;
};

}  // namespace vemra::tool
