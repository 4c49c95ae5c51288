#include "admin/limit_options.h"

#include <map>
#include <memory>

#include "admin/arguments.h"
#include "admin/token_folder.h"
#include "store/fault_file.h"
#include "store/plug.h"

namespace vemra::softtoken::admin {

namespace {

constexpr std::int64_t kibibyte = 1024;

// Generous is a token without any narrowness; small has little room and patience; slow answers like
// a chip behind a serial line.
const std::map<std::string, token_profile>& _profiles() {
    static const std::map<std::string, token_profile> profiles{
        {"generous", {}},
        {"small", {{128 * kibibyte, 32 * kibibyte, 8, 0, 0}, login_scope::handle, 3}},
        {"slow",
         {{2048 * kibibyte, 1024 * kibibyte, 32, 20000, 40 * kibibyte}, login_scope::process, 5}},
    };
    return profiles;
}

void _set(std::int64_t& limit, const std::optional<std::int64_t>& given, std::int64_t factor = 1) {
    if (given) limit = *given * factor;
}

struct profile_options {
    std::string name;
    limit_options limits;
};

void _change_profile(const profile_options& options) {
    if (!options.limits.is_given()) {
        throw command_failure(exit_usage, "nothing to change: give a --profile or a single value");
    }
    named_token token(options.name);
    settings_lock lock(token.directory);
    transaction changing(token.database);
    token_info info = token.database.info();
    token_profile profile{info.limits, info.login, token.passwords.retries().most};
    options.limits.apply_to(profile);
    token.database.set_behaviour(profile.limits, profile.login);
    token.passwords.set_most_retries(profile.retries);
    changing.commit();
    note_changed_settings(token.directory);
}

}  // namespace

void limit_options::add_to(CLI::App& command) {
    command.add_option("--profile", profile_, "Named values: generous, small or slow")
        ->check(CLI::IsMember(_profiles()));
    command.add_option("--login", login_, "For whom a verified password counts")
        ->check(CLI::IsMember({"process", "handle", "none"}));
    command.add_option("--retries", retries_, "Password attempts before it locks")
        ->check(CLI::Range(1, 1000));
    command.add_option("--capacity", capacity_, "Bytes in all slots together")
        ->transform(CLI::AsSizeValue(false));
    command.add_option("--slot-size", slot_size_, "Bytes in one slot")
        ->transform(CLI::AsSizeValue(false));
    command.add_option("--slots", slots_, "Number of slots")->check(CLI::Range(0, 1000000));
    command.add_option("--call-delay", call_milliseconds_, "Milliseconds that each call takes")
        ->check(CLI::Range(0, 60000));
    command.add_option("--bytes-per-second", bytes_per_second_, "Speed of a call; 0 for at once")
        ->transform(CLI::AsSizeValue(false));
}

void limit_options::apply_to(token_profile& profile) const {
    if (!profile_.empty()) profile = _profiles().at(profile_);
    if (!login_.empty()) profile.login = login_scope_from(login_).value();
    profile.retries = retries_.value_or(profile.retries);
    _set(profile.limits.capacity, capacity_);
    _set(profile.limits.slot_size, slot_size_);
    _set(profile.limits.slots, slots_);
    _set(profile.limits.call_microseconds, call_milliseconds_, 1000);
    _set(profile.limits.bytes_per_second, bytes_per_second_);
    if (!profile.limits.are_possible()) {
        throw command_failure(exit_usage,
                              "--capacity, --slot-size and --bytes-per-second begin at 0");
    }
}

bool limit_options::is_given() const {
    return !profile_.empty() || !login_.empty() || retries_ || capacity_ || slot_size_ || slots_ ||
           call_milliseconds_ || bytes_per_second_;
}

void add_profile_command(CLI::App& program) {
    auto options = std::make_shared<profile_options>();
    CLI::App* command = program.add_subcommand(
        "profile", "Change a token's limits, login scope or password attempts");
    add_token_name(*command, options->name);
    options->limits.add_to(*command);
    command->callback([options] { _change_profile(*options); });
}

}  // namespace vemra::softtoken::admin
