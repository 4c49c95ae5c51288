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

// Generous is a token without any narrowness; slow answers like a chip behind a serial line.
const std::map<std::string, token_limits>& _profiles() {
    static const std::map<std::string, token_limits> profiles{
        {"generous", {}},
        {"small", {128 * kibibyte, 32 * kibibyte, 8, 0, 0}},
        {"slow", {2048 * kibibyte, 1024 * kibibyte, 32, 20000, 40 * kibibyte}},
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
    named_token token(options.name);
    settings_lock lock(token.directory);
    transaction changing(token.database);
    token_limits limits = token.database.info().limits;
    options.limits.apply_to(limits);
    token.database.set_limits(limits);
    changing.commit();
    note_changed_settings(token.directory);
}

}  // namespace

void limit_options::add_to(CLI::App& command) {
    command.add_option("--profile", profile_, "Named limits: generous, small or slow")
        ->check(CLI::IsMember(_profiles()));
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

void limit_options::apply_to(token_limits& limits) const {
    if (!profile_.empty()) limits = _profiles().at(profile_);
    _set(limits.capacity, capacity_);
    _set(limits.slot_size, slot_size_);
    _set(limits.slots, slots_);
    _set(limits.call_microseconds, call_milliseconds_, 1000);
    _set(limits.bytes_per_second, bytes_per_second_);
}

void add_profile_command(CLI::App& program) {
    auto options = std::make_shared<profile_options>();
    CLI::App* command = program.add_subcommand("profile", "Change a token's limits");
    add_token_name(*command, options->name);
    options->limits.add_to(*command);
    command->callback([options] { _change_profile(*options); });
}

}  // namespace vemra::softtoken::admin
