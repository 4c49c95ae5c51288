#include "keep/device_change.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "basics/text.h"
#include "commands/password_source.h"
#include "keep/describe.h"
#include "keep/slots.h"
#include "terminal/progress.h"

namespace vemra::tool {

namespace {

// Writing and reading back.
constexpr std::size_t steps_of_a_change = 2;
constexpr int status_done = 1;
constexpr int status_device_full = -7;

using by_uuid = std::map<std::string, const stamp*>;

by_uuid _by_uuid(const std::vector<stamp>& stamps) {
    by_uuid found;
    for (const stamp& one : stamps) {
        found[one.uuid] = &one;
    }
    return found;
}

std::vector<std::string> _differences(const std::vector<stamp>& expected,
                                      const std::vector<stamp>& actual) {
    const by_uuid wanted = _by_uuid(expected);
    const by_uuid present = _by_uuid(actual);
    std::vector<std::string> texts;
    for (const auto& [uuid, one] : wanted) {
        const auto found = present.find(uuid);
        if (found == present.end()) {
            texts.push_back(quoted(one->name) + " is missing");
            continue;
        }
        if (found->second->name != one->name) {
            texts.push_back(quoted(one->name) + " is named " + quoted(found->second->name));
        }
        if (found->second->data != one->data) {
            texts.push_back("the bytes of " + quoted(one->name) + " differ");
        }
    }
    for (const auto& [uuid, one] : present) {
        if (wanted.count(uuid) == 0) texts.push_back(quoted(one->name) + " is there unexpectedly");
    }
    return texts;
}

std::string _joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : "; ") + text;
    }
    return joined;
}

std::string _kept_text(const recovery* kept) {
    if (kept == nullptr) return "";
    return "\nThe old stamp is kept; put it back with: vemra-stamp restore --replace " +
           kept->path();
}

void _add_recovery(json& details, const recovery* kept) {
    if (kept != nullptr) details["recovery"] = kept->path();
}

// A signal may have come while this or an earlier device was being changed.
void _heed_signals() {
    if (!interruption::is_pending()) return;
    throw failure(exit_code::interrupted, "interrupted; earlier changes are complete");
}

// The stamps of an enumeration before an append, with what the append added.
std::vector<stamp> _with_appended(std::vector<stamp> before, const std::vector<stamp>& actual,
                                  const stamp& wanted) {
    const by_uuid known = _by_uuid(before);
    const auto added = std::find_if(actual.begin(), actual.end(),
                                    [&](const stamp& one) { return known.count(one.uuid) == 0; });
    before.push_back(wanted);
    if (added != actual.end()) before.back().uuid = added->uuid;
    return before;
}

}  // namespace

device_change::device_change(context& run, const device_id& device)
    : run_(run), device_(device), lock_(device, device_lock::kind::exclusive, run.options.timeout) {
    const progress shown(run_.out, "reading " + describe(device_));
    stamps_ = run_.tokens().all_stamps(device_);
}

void device_change::expect(std::size_t changes) {
    steps_ = changes * steps_of_a_change;
}

void device_change::authorise() {
    _heed_signals();
    verify_password(run_, device_);
    run_.out.detail("the password of " + describe(device_) + " is right");
}

void device_change::begin() {
    _heed_signals();
    if (!hold_) hold_.emplace();
}

// An append overwrites what lies unlisted in the slot that it takes.
void device_change::keep_unlisted_bytes() {
    const int slot = read_mapping(run_.tokens(), device_).lowest_free_slot();
    if (slot == 0) return;
    const std::string bytes = run_.tokens().read_slot(device_, slot);
    if (bytes.empty()) return;
    const std::string name = "unlisted-" + std::to_string(slot);
    const recovery kept({device_, {{name, bytes, slot, ""}}});
    run_.out.warn("slot " + std::to_string(slot) +
                  " holds bytes that no stamp is listed for; they are kept in " + kept.path());
}

recovery device_change::keep(const stamp& old) const {
    recovery kept({device_, {{old.name, old.data, 0, old.uuid}}});
    run_.out.detail("the old " + quoted(old.name) + " is kept in " + kept.path() +
                    " until the change is verified");
    return kept;
}

void device_change::append(const std::string& name, const std::string& data) {
    begin();
    if (stamps_.size() < static_cast<std::size_t>(stamp_slots)) keep_unlisted_bytes();
    const int status = call("writing " + quoted(name),
                            [&](session& tokens) { return tokens.append(device_, name, data); });
    const std::vector<stamp> actual = read_back(status, nullptr);
    const std::vector<stamp> expected = _with_appended(stamps_, actual, {"", name, data, device_});
    const std::string uuid = expected.back().uuid;
    finish(status, expected, actual, nullptr);
    appended_ =
        static_cast<std::size_t>(std::find_if(stamps_.begin(), stamps_.end(),
                                              [&](const stamp& one) { return one.uuid == uuid; }) -
                                 stamps_.begin());
}

void device_change::update(const stamp& old, const std::string& name, const std::string& data) {
    begin();
    std::vector<stamp> expected = stamps_;
    for (stamp& one : expected) {
        if (one.uuid == old.uuid) one = {old.uuid, name, data, device_};
    }
    recovery kept = keep(old);
    const int status = call("replacing " + quoted(old.name),
                            [&](session& tokens) { return tokens.update(old.uuid, name, data); });
    finish(status, expected, read_back(status, &kept), &kept);
}

void device_change::remove(const stamp& old) {
    begin();
    std::vector<stamp> expected;
    std::copy_if(stamps_.begin(), stamps_.end(), std::back_inserter(expected),
                 [&](const stamp& one) { return one.uuid != old.uuid; });
    recovery kept = keep(old);
    const int status = call("removing " + quoted(old.name),
                            [&](session& tokens) { return tokens.remove(old.uuid); });
    finish(status, expected, read_back(status, &kept), &kept);
}

int device_change::call(const std::string& label, const std::function<int(session&)>& change) {
    if (steps_ == 0) expect(1);
    const progress shown(run_.out, label, finished_++, steps_);
    const int status = change(run_.tokens());
    cause_ = run_.tokens().cause();
    return status;
}

std::vector<stamp> device_change::read_back(int status, const recovery* kept) {
    try {
        const progress shown(run_.out, "reading back", finished_++, steps_);
        return run_.tokens().all_stamps(device_);
    } catch (const failure& error) {
        json details = error.details();
        _add_recovery(details, kept);
        if (status == status_done) {
            throw failure(exit_code::check_failed,
                          std::string("what the device holds now cannot be verified: ") +
                              error.what() + _kept_text(kept),
                          details);
        }
        details["cause"] = cause_;
        throw failure(exit_code::failed,
                      "the device refused the change: " + cause_ +
                          "\nWhat it holds now cannot be read: " + error.what() + _kept_text(kept),
                      details);
    }
}

void device_change::finish(int status, const std::vector<stamp>& expected,
                           const std::vector<stamp>& actual, recovery* kept) {
    const std::vector<std::string> differences =
        _differences(status == status_done ? expected : stamps_, actual);
    stamps_ = actual;
    run_.out.detail(std::to_string(actual.size()) + " stamps read back and compared");
    if (kept != nullptr && differences.empty()) kept->discard();
    if (status == status_done && differences.empty()) return;

    json details{{"differences", differences}};
    if (!differences.empty()) _add_recovery(details, kept);
    if (status == status_done) {
        throw failure(exit_code::check_failed,
                      "the device took the change, but does not hold what it should: " +
                          _joined(differences) + _kept_text(kept),
                      details);
    }
    const bool is_full = status == status_device_full;
    details["cause"] = cause_;
    throw failure(
        is_full ? exit_code::device_full : exit_code::failed,
        differences.empty()
            ? "the device refused the change: " + cause_ + "; its stamps are as they were before"
            : "the device failed in the middle of the change: " + cause_ +
                  "; against before: " + _joined(differences) + _kept_text(kept),
        details);
}

}  // namespace vemra::tool
