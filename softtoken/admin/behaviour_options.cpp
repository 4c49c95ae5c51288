#include "admin/behaviour_options.h"

#include <map>

#include "admin/arguments.h"
#include "admin/file_input.h"
#include "personality/built_in_profiles.h"
#include "personality/knob.h"
#include "personality/profile_text.h"
#include "store/digest_name.h"

namespace vemra::softtoken::admin {

namespace {

std::map<std::string, std::string> _texts_of_profiles() {
    std::map<std::string, std::string> texts;
    for (const built_in_profile& profile : built_in_profiles())
        texts[profile.name] = profile.text;
    return texts;
}

personality _profile_of(const std::string& text, const std::string& where) {
    try {
        return read_profile(text);
    } catch (const bad_profile& error) {
        throw command_failure(exit_usage, where + ": " + error.what());
    }
}

}  // namespace

void behaviour_options::add_to(CLI::App& command) {
    CLI::Option* named = command.add_option("--profile", profile_, "A profile that comes with it")
                             ->check(CLI::IsMember(_texts_of_profiles()));
    command.add_option("--profile-file", file_, "A profile of your own; \"knobs\" tells its form")
        ->excludes(named);
    // Their addresses stay.
    for_each_knob([&](const knob& one) { knobs_.push_back({one.name, {}, nullptr}); });
    auto place = knobs_.begin();
    for (const knob_group& group : knob_table()) {
        for (const knob& one : group.knobs) {
            place->option =
                command
                    .add_option("--" + one.name, place->word, one.help + " (" + one.values + ")")
                    ->group("Behaviour: " + group.name);
            if (one.is_size) place->option->transform(CLI::AsSizeValue(false));
            ++place;
        }
    }
}

void behaviour_options::apply_to(personality& changed) const {
    if (!profile_.empty()) {
        changed = _profile_of(_texts_of_profiles().at(profile_), profile_);
    } else if (!file_.empty()) {
        changed = _profile_of(read_plain_file(file_, most_profile_bytes), file_);
    }
    for (const knob_option& given : knobs_) {
        if (given.option->count() == 0) continue;
        try {
            set_knob(changed, given.name, given.word);
        } catch (const bad_profile& error) {
            throw command_failure(exit_usage, "--" + given.name + ": " + error.what());
        }
    }
    if (changed.digest != no_digest && !is_digest(changed.digest)) {
        throw command_failure(exit_usage,
                              "the knob \"digest\": OpenSSL has none of 20 to 64 bytes"
                              " that is called " +
                                  changed.digest);
    }
}

bool behaviour_options::is_given() const {
    if (!profile_.empty() || !file_.empty()) return true;
    for (const knob_option& given : knobs_) {
        if (given.option->count() != 0) return true;
    }
    return false;
}

}  // namespace vemra::softtoken::admin
