#include "library/error_state.h"

#include <atomic>
#include <map>
#include <memory>

#include "personality/profile_text.h"
#include "store/failure.h"

namespace vemra::softtoken {

namespace {

constexpr int success = static_cast<int>(error_code::success);

// They need no destructor, so they can be used while the thread or the process is ending.
thread_local int _last_error = success;
thread_local const personality* _asked = nullptr;
std::atomic<int> _last_error_of_process{success};
std::atomic<const personality*> _asked_by_anybody{nullptr};

const personality* _rules() noexcept {
    return _asked != nullptr ? _asked : _asked_by_anybody.load();
}

last_error_rule _rule_of(const personality* rules) noexcept {
    return rules == nullptr ? last_error_rule::thread : rules->last_error;
}

}  // namespace

const personality* kept_for_ever(const personality& behaviour) {
    static auto& kept = *new std::map<std::string, std::unique_ptr<const personality>>;
    // A damaged or old file may hold what no knob tells.
    std::string name = std::to_string(behaviour.call_microseconds) + "\n";
    for (const auto& [knob, value] : differences(behaviour))
        name += knob + "=" + value + "\n";
    auto& found = kept[name];
    if (found == nullptr) found = std::make_unique<const personality>(behaviour);
    return found.get();
}

void note_asked(const personality* rules) noexcept {
    if (rules == nullptr) return;
    _asked = rules;
    _asked_by_anybody = rules;
}

int last_error() noexcept {
    return _rule_of(_rules()) == last_error_rule::process ? _last_error_of_process.load()
                                                          : _last_error;
}

int keep_error(int code, const personality* rules) noexcept {
    if (_rule_of(rules) == last_error_rule::never) return code;
    _last_error = code;
    _last_error_of_process = code;
    return code;
}

void keep_success(const personality* rules) noexcept {
    if (_rule_of(rules) == last_error_rule::cleared) _last_error = success;
}

const char* told_error_text(int code) noexcept {
    const personality* rules = _rules();
    if (rules == nullptr) return error_text(code);
    const auto found = rules->texts.find(code);
    if (found == rules->texts.end()) return error_text(code);
    return found->second ? found->second->c_str() : nullptr;
}

}  // namespace vemra::softtoken
