#include "keep/session.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "basics/failure.h"
#include "basics/text.h"
#include "keep/cause.h"
#include "keep/describe.h"
#include "keep/loader.h"

namespace vemra::tool {

namespace {

std::string _list(const std::vector<device_id>& devices) {
    std::string text;
    for (const device_id& device : devices) {
        text += "\n  " + describe(device);
    }
    return text;
}

// A choice as the person made it.
std::string _asked(const device_choice& choice) {
    const std::string serial = choice.serial.empty() ? "any" : quoted(choice.serial);
    return choice.type == -1 ? serial : serial + " of type " + std::to_string(choice.type);
}

failure_facts _facts_of(const password_answer& answer, const std::string& cause) {
    failure_facts facts{cause};
    if (answer.retries >= 0) facts.attempts_left = answer.retries;
    return facts;
}

// What a password's refusal means; the device tells -1 attempts when it does not know.
failure _refusal(const device_id& device, const password_answer& answer) {
    const std::string cause = printable(cause_of(answer.text.c_str()));
    const failure_facts facts = _facts_of(answer, cause);
    if (answer.retries == 0) {
        return {exit_code::locked,
                describe(device) + " is locked: " + cause +
                    ", no attempts left\nA software token is unlocked by "
                    "vemra-softtoken unlock; for a real one ask whoever gave it to you",
                facts};
    }
    if (answer.retries < 0) {
        return {exit_code::failed,
                "the password of " + describe(device) + " could not be verified: " + cause, facts};
    }
    return {exit_code::wrong_password,
            "wrong password of " + describe(device) + ", " + describe_attempts(answer.retries) +
                "; nothing was changed on this device, which says: " + cause,
            facts};
}

}  // namespace

session::session(trace& printed, person& served, const lock_rule& locking)
    : tokens_(load_tokens()),
      trace_(printed),
      served_(served),
      locking_(locking),
      kept_(kept_changes()) {}

lock_deadline session::deadline() const {
    return std::chrono::steady_clock::now() + std::chrono::duration<double>(locking_.timeout);
}

void session::call(const std::function<void(tokens&)>& made,
                   const std::optional<device_id>& asked) {
    struct taker {
        session& owner;
        ~taker() { owner.errors_ = owner.trace_.take(owner.password_); }
    };
    try {
        const taker take_trace{*this};
        made(*tokens_);
    } catch (const std::exception& error) {
        const std::string cause = cause_of(error.what());
        throw failure(exit_code::failed,
                      (asked ? describe(*asked) : "the device") + " failed: " + printable(cause),
                      {cause});
    }
}

int session::make(const device_id& device, const change& wanted) {
    int status = 0;
    call([&](tokens& all) { status = wanted(all, password_.c_str()); }, device);
    return status;
}

std::string session::cause() const {
    return errors_.empty() ? "no reason given" : printable(cause_of(errors_.back()));
}

std::vector<device_id> session::devices() {
    require_functions(reach::reading);
    std::vector<device_id> found = ask([](token_reader& all) { return all.list_devices(); });
    if (found.empty()) {
        throw failure(exit_code::no_device, errors_.empty()
                                                ? "no device is attached"
                                                : "no device can be reached: " + cause());
    }
    return found;
}

device_id session::find_device(const device_choice& choice) {
    const std::vector<device_id> attached = devices();
    std::vector<device_id> matching;
    std::copy_if(attached.begin(), attached.end(), std::back_inserter(matching),
                 [&](const device_id& device) { return choice.matches(device); });
    if (matching.empty()) {
        throw failure(exit_code::no_device,
                      "no such device: " + _asked(choice) + "; attached:" + _list(attached));
    }
    if (matching.size() > 1) {
        throw failure(exit_code::usage,
                      "several devices are meant; name one with --device and --device-type:" +
                          _list(matching));
    }
    tell_kept(matching.front());
    return matching.front();
}

std::vector<device_id> session::find_devices(const device_choice& choice) {
    if (!choice.is_open()) return {find_device(choice)};
    std::vector<device_id> attached = devices();
    for (const device_id& device : attached) {
        tell_kept(device);
    }
    return attached;
}

void session::tell_kept(const device_id& device) {
    if (!told_kept_.insert(device).second) return;
    for (const kept_change& one : kept_of(device)) {
        served_.warn("what " + describe(device) + " held before an earlier change is kept in " +
                     one.path + "; see: vemra-stamp recovery");
    }
}

std::vector<kept_change> session::kept_of(const device_id& device) const {
    std::vector<kept_change> found;
    std::copy_if(
        kept_.begin(), kept_.end(), std::back_inserter(found), [&](const kept_change& one) {
            return one.kept && one.kept->serial == device.serial && one.kept->type == device.type;
        });
    return found;
}

void session::leave_untold(const std::string& directory) {
    const auto is_it = [&](const kept_change& one) {
        std::error_code none;
        return std::filesystem::equivalent(one.path, directory, none);
    };
    kept_.erase(std::remove_if(kept_.begin(), kept_.end(), is_it), kept_.end());
}

stamp_list session::stamps(const std::optional<device_id>& only) {
    require_functions(reach::reading);
    stamp_list list = ask([&](token_reader& all) { return all.list_stamps(only); }, only);
    if (list.unreadable > 0 && errors_.empty()) {
        errors_.push_back(std::to_string(list.unreadable) + " stamps could not be read");
    }
    if (list.status == 1) return list;
    const bool none = std::any_of(errors_.begin(), errors_.end(),
                                  [](const std::string& text) { return text == "No device."; });
    if (none) throw failure(exit_code::no_device, "no device is attached");
    throw failure(
        exit_code::failed,
        "the stamps" + (only ? " of " + describe(*only) : "") + " cannot be listed: " + cause(),
        {cause()});
}

// What the library tells of each stamp when it has read it.
std::size_t session::listed_now() const {
    return trace_.count("[VemraAppStampGetAllStamps] uuid: ");
}

const std::vector<std::size_t>* session::remembered_lengths(const device_id& device) const {
    const auto found = lengths_.find(device);
    return found == lengths_.end() ? nullptr : &found->second;
}

void session::remember_lengths(const device_id& device, std::vector<std::size_t> lengths) {
    lengths_[device] = std::move(lengths);
}

void session::ask_password(const device_id& device) {
    require_functions(reach::changing);
    served_.give_password(device, password_);
}

std::optional<failure> session::verify_password(const device_id& device) {
    password_answer answer;
    call([&](tokens& all) { answer = all.verify_password(device, password_.c_str()); }, device);
    if (answer.result == 1) return std::nullopt;
    failure refusal = _refusal(device, answer);
    if (refusal.code() != exit_code::wrong_password) throw refusal;
    return refusal;
}

}  // namespace vemra::tool
