#include "keep/listing.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "basics/failure.h"
#include "basics/text.h"
#include "keep/cause.h"
#include "keep/describe.h"
#include "keep/forecast.h"
#include "keep/mapping_record.h"
#include "keep/read_locks.h"

namespace vemra::tool {

namespace {

std::vector<stamp> _of_device(const std::vector<stamp>& stamps, const device_id& device) {
    std::vector<stamp> found;
    std::copy_if(stamps.begin(), stamps.end(), std::back_inserter(found),
                 [&](const stamp& one) { return one.device == device; });
    return found;
}

// The error that ended the enumeration of a device is told by the stamp that it was about.
void _forget(std::vector<std::string>& errors, const std::string& fault) {
    const auto found = std::find_if(errors.begin(), errors.end(), [&](const std::string& error) {
        return cause_of(error) == fault;
    });
    if (found != errors.end()) errors.erase(found);
}

// The stamps of a record, of which some are listed.
std::vector<stamp> _complete(session& tokens, const device_id& device, const mapping_record& record,
                             const std::vector<stamp>& listed, std::vector<std::string>& errors) {
    std::vector<stamp> all;
    bool is_first = true;
    for (const int slot : record.listed_slots()) {
        const std::string uuid =
            tokens.ask([&](token_reader& reader) { return reader.uuid_of(device, slot); });
        const auto found = std::find_if(listed.begin(), listed.end(),
                                        [&](const stamp& one) { return one.uuid == uuid; });
        if (found != listed.end()) {
            all.push_back(*found);
            all.back().slot = slot;
            continue;
        }
        const std::string& name = record.entries.at(static_cast<unsigned int>(slot));
        all.push_back(read_stamp(tokens, {uuid, name, device, slot}));
        all.back().is_listed = false;
        if (is_first && !all.back().is_readable()) _forget(errors, all.back().fault);
        is_first = false;
    }
    return all;
}

std::vector<stamp> _read_device(session& tokens, const device_id& device, std::vector<stamp> listed,
                                held_stamps& held) {
    try {
        const mapping_record record = read_mapping(tokens, device);
        const std::vector<int> slots = record.listed_slots();
        if (slots.size() != listed.size()) {
            return _complete(tokens, device, record, listed, held.errors);
        }
        for (std::size_t i = 0; i < slots.size(); ++i) {
            listed[i].slot = slots[i];
        }
    } catch (const failure& error) {
        _forget(held.errors, error.facts().cause);
        held.errors.push_back(describe_unreadable(device, error.facts().cause));
        held.unknown.push_back(device);
    }
    return listed;
}

failure _not_whole(const device_id& device, const std::string& error) {
    const std::string found = printable(cause_of(error));
    return {exit_code::failed,
            "the stamps of " + describe(device) + " cannot all be read: " + found +
                "\nSee: vemra-stamp check",
            {found}};
}

}  // namespace

held_stamps read_held(session& tokens, const std::vector<device_id>& devices,
                      const std::string& label) {
    const auto shown = show_listing(tokens, devices, label);
    const stamp_list list = devices.size() == 1 ? tokens.stamps(devices.front()) : tokens.stamps();
    held_stamps held{{}, tokens.errors(), {}};
    for (const device_id& device : devices) {
        for (stamp& one : _read_device(tokens, device, _of_device(list.stamps, device), held)) {
            held.stamps.push_back(std::move(one));
        }
    }
    return held;
}

held_stamps list_stamps(session& tokens, const device_choice& choice) {
    const std::vector<device_id> meant = tokens.find_devices(choice);
    const read_locks locks(tokens, meant);
    return read_held(tokens, meant, "reading stamps");
}

stamp read_stamp(session& tokens, const named_stamp& wanted) {
    stamp one{wanted};
    try {
        one.data = shared_bytes(tokens.ask(
            [&](token_reader& all) { return all.read_slot(wanted.device, wanted.slot); }));
    } catch (const failure& error) {
        one.fault = error.facts().cause;
    }
    return one;
}

// Errors of an enumeration may be those of another device.
std::vector<stamp> whole_list(session& tokens, const device_id& device, const std::string& label) {
    held_stamps held = read_held(tokens, {device}, label);
    if (held.errors.empty()) return std::move(held.stamps);
    const mapping_record record = read_mapping(tokens, device);
    if (record.faults.empty() && record.listed_slots().size() == held.stamps.size()) {
        return std::move(held.stamps);
    }
    throw _not_whole(device, held.errors.back());
}

std::vector<stamp> changed_list(session& tokens, const device_id& device,
                                const std::vector<stamp>& known, int changed) {
    const mapping_record record = read_mapping(tokens, device);
    if (!record.faults.empty()) throw _not_whole(device, record.faults.back());
    std::vector<stamp> stamps;
    for (const int slot : record.listed_slots()) {
        const std::string& name = record.entries.at(static_cast<unsigned int>(slot));
        const auto found = std::find_if(known.begin(), known.end(),
                                        [&](const stamp& one) { return one.slot == slot; });
        if (found != known.end() && slot != changed) {
            stamps.push_back(*found);
            stamps.back().name = name;
            continue;
        }
        const std::string uuid =
            tokens.ask([&](token_reader& all) { return all.uuid_of(device, slot); }, device);
        const named_stamp one{uuid, name, device, slot};
        const auto shown = show_reading(tokens, one, "reading back");
        stamps.push_back(read_stamp(tokens, one));
    }
    return stamps;
}

void require_bytes(const stamp& one) {
    if (!one.is_readable()) throw failure(exit_code::failed, describe_unreadable(one), {one.fault});
}

void require_readable(const std::vector<stamp>& held, const device_id& device,
                      const std::vector<stamp>& removed) {
    const std::vector<stamp> stamps = _of_device(held, device);
    for (const stamp& one : stamps) {
        const bool is_removed =
            std::any_of(removed.begin(), removed.end(),
                        [&](const stamp& other) { return is_same_place(one, other); });
        if (one.is_readable() || is_removed) continue;
        throw failure(exit_code::failed,
                      "the stamps of " + describe(device) + " cannot all be read: " +
                          printable(one.fault) + "\nTry again; if it stays so, first give " +
                          quoted(one.name) + " a new picture, or delete it",
                      {one.fault});
    }
    // Behind one that cannot be read they are listed as soon as that one is gone.
    const bool is_any_unreadable = std::any_of(stamps.begin(), stamps.end(),
                                               [](const stamp& one) { return !one.is_readable(); });
    if (is_any_unreadable) return;
    for (const stamp& one : stamps) {
        if (one.is_listed) continue;
        throw failure(exit_code::failed,
                      "the stamps of " + describe(device) +
                          " cannot all be read: the stamp library does not list " +
                          quoted(one.name) + "\nTry again; if it stays so, see: vemra-stamp check");
    }
}

}  // namespace vemra::tool
