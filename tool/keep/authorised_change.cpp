#include "keep/authorised_change.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include "basics/failure.h"
#include "basics/text.h"
#include "keep/describe.h"
#include "keep/forecast.h"
#include "keep/listing.h"
#include "keep/repair_plan.h"

namespace vemra::tool {

namespace {

constexpr int status_failed = 0;
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

// What could not be read before cannot be compared, but it must not be empty now.
std::string _fault_of_bytes(const stamp& expected, const stamp& actual) {
    if (!expected.is_readable()) {
        return actual.is_readable() && actual.data.empty() ? "are gone" : "";
    }
    if (!actual.is_readable()) return "cannot be read: " + printable(actual.fault);
    return actual.data == expected.data ? "" : "differ";
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
        const std::string fault = _fault_of_bytes(*one, *found->second);
        if (!fault.empty()) texts.push_back("the bytes of " + quoted(one->name) + " " + fault);
    }
    for (const auto& [uuid, one] : present) {
        if (wanted.count(uuid) == 0) texts.push_back(quoted(one->name) + " is there unexpectedly");
    }
    return texts;
}

// Stamps without bytes were not readable before either.
std::vector<std::string> _lost(const std::vector<stamp>& before, const std::vector<stamp>& after) {
    std::vector<std::string> texts;
    for (const stamp& one : before) {
        const bool is_there = std::any_of(after.begin(), after.end(), [&](const stamp& other) {
            return other.uuid == one.uuid && other.name == one.name && other.data == one.data;
        });
        if (!one.data.empty() && !is_there) {
            texts.push_back(describe(one) + " is not readable any more");
        }
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

// A signal may have come while this or an earlier device was being changed.
void _heed_signals() {
    if (!interruption::is_pending()) return;
    throw failure(exit_code::interrupted, "interrupted; earlier changes are complete");
}

std::vector<stamp> _without(const std::vector<stamp>& stamps, const stamp& left_out) {
    std::vector<stamp> others;
    std::copy_if(stamps.begin(), stamps.end(), std::back_inserter(others),
                 [&](const stamp& one) { return one.uuid != left_out.uuid; });
    return others;
}

std::string _read_free_slot(session& tokens, const device_id& device, int slot) {
    try {
        return tokens.ask([&](token_reader& all) { return all.read_slot(device, slot); }, device);
    } catch (const failure& error) {
        throw failure(error.code(),
                      "slot " + std::to_string(slot) + " of " + describe(device) +
                          ", which is free, cannot be read: " + printable(error.facts().cause),
                      error.facts());
    }
}

// The uuid of what an append added to an enumeration; empty when it added nothing.
std::string _uuid_of_new(const std::vector<stamp>& before, const std::vector<stamp>& actual) {
    const by_uuid known = _by_uuid(before);
    const auto added = std::find_if(actual.begin(), actual.end(),
                                    [&](const stamp& one) { return known.count(one.uuid) == 0; });
    return added == actual.end() ? "" : added->uuid;
}

}  // namespace

authorised_change authorise(session& tokens, const device_id& device, const look_up& wanted,
                            verification how) {
    _heed_signals();
    locked_device locked = lock_with_password(tokens, device, wanted);
    tokens.served().detail("the password of " + describe(device) + " is right");
    return {std::move(locked), how};
}

authorised_change::authorised_change(locked_device device, verification how)
    : device_(std::move(device)), how_(how) {}

stamp authorised_change::append(const std::string& name, const shared_bytes& data) {
    begin();
    const std::vector<stamp> before = device_.stamps();
    stamp appended{{"", name, device_.id(), lowest_free_slot(before)}, data};
    if (appended.slot != 0) keep_unlisted_bytes(appended.slot);
    std::vector<stamp> expected = before;
    expected.push_back(appended);
    recovery kept = keep_list(device_.tokens(), contents(), {});
    carry_out(
        {"writing " + quoted(name), written_by({0, data.size()}), {}}, kept,
        [&](tokens& all, const char* password) {
            return all.append(device_.id(), password, name, data.get());
        },
        [&](bool is_done) {
            read_after(is_done, 0, is_done ? expected : before);
            if (!is_done) return _differences(before, device_.stamps());
            appended.uuid = _uuid_of_new(before, device_.stamps());
            expected.back().uuid = appended.uuid;
            return _differences(expected, device_.stamps());
        });
    return appended;
}

void authorised_change::update(const pictured_stamp& old, const std::string& name,
                               const shared_bytes& data) {
    begin();
    if (!old.one.is_readable()) {
        replace_unreadable(old.one, {{old.one.uuid, name, device_.id(), old.one.slot}, data});
        return;
    }
    const std::vector<stamp> before = device_.stamps();
    const std::string& uuid = old.one.uuid;
    std::vector<stamp> expected = before;
    for (stamp& one : expected) {
        if (one.uuid == uuid) one = {{uuid, name, device_.id(), one.slot}, data};
    }
    recovery kept = keep_list(device_.tokens(), contents(), {to_archive(old)});
    carry_out(
        {"replacing " + quoted(old.one.name), written_by({old.one.data.size(), data.size()}), {}},
        kept,
        [&](tokens& all, const char* password) {
            return all.update(uuid, password, name, data.get());
        },
        [&](bool is_done) {
            const std::vector<stamp>& wanted = is_done ? expected : before;
            read_after(is_done, old.one.slot, wanted);
            return _differences(wanted, device_.stamps());
        });
}

void authorised_change::remove(const stamp& old) {
    begin();
    if (!old.is_readable()) {
        remove_unreadable(old);
        return;
    }
    const std::vector<stamp> before = device_.stamps();
    const std::vector<stamp> expected = _without(before, old);
    recovery kept = keep_list(device_.tokens(), contents(), {to_archive(look_at(old))});
    carry_out(
        {"removing " + quoted(old.name), written_by({old.data.size(), 0}), {}}, kept,
        [&](tokens& all, const char* password) { return all.remove(old.uuid, password); },
        [&](bool is_done) {
            const std::vector<stamp>& wanted = is_done ? expected : before;
            read_after(is_done, 0, wanted);
            return _differences(wanted, device_.stamps());
        });
}

// The public interface writes nothing where it cannot read, so the slot and the list are written
// through the device layer, in the interface's own order.
void authorised_change::replace_unreadable(const stamp& old, const stamp& wanted) {
    session& tokens_of_device = device_.tokens();
    const std::vector<stamp> before = device_.stamps();
    std::vector<stamp> expected = _without(before, old);
    expected.push_back(wanted);
    const old_contents held = contents();
    stamp_mapping entries = held.list.entries;
    entries[static_cast<unsigned int>(old.slot)] = wanted.name;
    const mapping_record next = make_mapping(tokens_of_device, device_.id(), entries);
    recovery kept = keep_all(tokens_of_device, held);
    carry_out(
        {"replacing " + quoted(old.name), written_by({0, wanted.data.size()}), {}}, kept,
        [&](tokens& all, const char*) {
            all.delete_slot(device_.id(), old.slot);
            all.write_slot(device_.id(), old.slot, wanted.data.get());
            all.write_slot(device_.id(), mapping_slot, next.bytes);
            return status_done;
        },
        [&](bool is_done) { return compare_with(is_done ? expected : before); });
}

void authorised_change::remove_unreadable(const stamp& old) {
    session& tokens_of_device = device_.tokens();
    const std::vector<stamp> before = device_.stamps();
    const std::vector<stamp> expected = _without(before, old);
    const old_contents held = contents();
    stamp_mapping entries = held.list.entries;
    entries.erase(static_cast<unsigned int>(old.slot));
    const mapping_record next = make_mapping(tokens_of_device, device_.id(), entries);
    recovery kept = keep_all(tokens_of_device, held);
    carry_out(
        {"removing " + quoted(old.name)}, kept,
        [&](tokens& all, const char*) {
            all.write_slot(device_.id(), mapping_slot, next.bytes);
            all.delete_slot(device_.id(), old.slot);
            return status_done;
        },
        [&](bool is_done) { return compare_with(is_done ? expected : before); });
}

void authorised_change::write_list(const mapping_record& old, const mapping_record& wanted) {
    begin();
    session& tokens_of_device = device_.tokens();
    const std::vector<stamp> before =
        read_held(tokens_of_device, {device_.id()}, "reading " + describe(device_.id())).stamps;
    recovery kept = keep_all(tokens_of_device, {device_.id(), old, before});
    carry_out(
        {"repairing " + describe(device_.id())}, kept,
        [&](tokens& all, const char*) {
            all.write_slot(device_.id(), mapping_slot, wanted.bytes);
            return status_done;
        },
        [&](bool is_done) {
            const mapping_record now = read_mapping(tokens_of_device, device_.id());
            device_.know(read_held(tokens_of_device, {device_.id()}, "reading back").stamps);
            std::vector<std::string> texts = _lost(before, device_.stamps());
            if (is_done && now.entries != wanted.entries) {
                texts.insert(texts.begin(), "the list is not the planned one");
            } else if (!is_done && now.bytes != old.bytes) {
                texts.insert(texts.begin(), "the list is not the old one");
            }
            return texts;
        });
}

void authorised_change::begin() {
    _heed_signals();
    if (!hold_) hold_.emplace();
}

// An append overwrites what lies unlisted in the slot that it takes.
void authorised_change::keep_unlisted_bytes(int slot) {
    session& tokens = device_.tokens();
    const shared_bytes bytes(_read_free_slot(tokens, device_.id(), slot));
    if (bytes.empty()) return;
    archive unlisted{device_.id().serial, device_.id().type, {}};
    const std::string name = "unlisted-" + std::to_string(slot);
    unlisted.stamps.push_back(to_archive(look_at(stamp{{"", name, device_.id()}, bytes}), slot));
    const recovery kept(unlisted);
    tokens.served().warn("slot " + std::to_string(slot) +
                         " holds bytes that no stamp is listed for; they are kept in " +
                         kept.path());
}

old_contents authorised_change::contents() {
    return {device_.id(), read_mapping(device_.tokens(), device_.id()), device_.stamps()};
}

void authorised_change::carry_out(const work& writing, recovery& kept, const write_call& change,
                                  const comparison& differences) {
    const int status = write(writing, change);
    const std::vector<std::string> found = read_back(status, kept, differences);
    device_.tokens().served().detail(
        is_all_read_ ? std::to_string(device_.stamps().size()) + " stamps read back and compared"
                     : "the list and what was changed read back and compared");
    if (found.empty()) kept.discard();
    require_verified(status, found, found.empty() ? nullptr : &kept);
}

int authorised_change::write(const work& writing, const write_call& change) {
    session& tokens = device_.tokens();
    const auto shown = tokens.served().show(writing);
    try {
        const int status = tokens.make(device_.id(), change);
        cause_ = tokens.cause();
        return status;
    } catch (const failure& error) {
        cause_ = printable(error.facts().cause);
        return status_failed;
    }
}

std::vector<std::string> authorised_change::read_back(int status, const recovery& kept,
                                                      const comparison& differences) {
    try {
        return differences(status == status_done);
    } catch (const failure& error) {
        const bool is_done = status == status_done;
        const std::string device = describe(device_.id());
        failure_facts facts = facts_of(&kept);
        facts.cause = is_done ? error.facts().cause : cause_;
        const std::string told = is_done ? "what " + device + " holds now cannot be verified: "
                                         : device + " refused the change: " + cause_ +
                                               "\nWhat it holds now cannot be read: ";
        throw failure(is_done ? exit_code::check_failed : exit_code::failed, told + error.what(),
                      facts);
    }
}

void authorised_change::require_verified(int status, const std::vector<std::string>& differences,
                                         const recovery* kept) const {
    if (status == status_done && differences.empty()) return;
    const std::string device = describe(device_.id());
    failure_facts facts = facts_of(kept);
    facts.differences = differences;
    const std::string found = _joined(differences);
    if (status == status_done) {
        const std::string told = " took the change, but does not hold what it should: ";
        throw failure(exit_code::check_failed, device + told + found, facts);
    }
    facts.cause = cause_;
    const std::string told =
        found.empty()
            ? " refused the change: " + cause_ + "; its stamps are as they were before"
            : " failed in the middle of the change: " + cause_ + "; against before: " + found;
    throw failure(status == status_device_full ? exit_code::device_full : exit_code::failed,
                  device + told, facts);
}

failure_facts authorised_change::facts_of(const recovery* kept) const {
    failure_facts facts;
    if (kept != nullptr) facts.recovery = kept->path();
    if (needs_repair(device_)) facts.damaged_list = {device_.id().serial, device_.id().type};
    return facts;
}

void authorised_change::read_after(bool is_done, int slot, const std::vector<stamp>& expected) {
    if (!is_done || how_ == verification::everything) {
        read_everything(expected);
        return;
    }
    device_.read_changed(slot);
    is_all_read_ = false;
}

void authorised_change::read_everything(const std::vector<stamp>& expected) {
    remember_lengths(device_.tokens(), device_.id(), expected);
    device_.read_again();
    is_all_read_ = true;
}

std::vector<std::string> authorised_change::compare_with(const std::vector<stamp>& expected) {
    read_everything(expected);
    return _differences(expected, device_.stamps());
}

}  // namespace vemra::tool
