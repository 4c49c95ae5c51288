#include "sweep/power_cut/power_cut.h"

#include "model/reference_mapping.h"

namespace {

/** The case's token in the model, listed once. */
struct model_token {
    model_token(const cut_case& one, const token& device) : library(devices) {
        auto attached = std::make_shared<model_device>();
        attached->label = "T";
        attached->serial = device.serial;
        attached->type = device.type;
        attached->slots = listed_slots(one.state);
        devices.attached.push_back(attached);
        listed = library.list().stamps;
        attached->slots = slots_of(one.state);
    }

    model_devices devices;
    model_library library;
    std::vector<seen_stamp> listed;
};

bool _changes(const std::string& call) {
    return call.rfind("VemraPKICryptoCreateData", 0) == 0 ||
           call.rfind("VemraPKICryptoWriteData", 0) == 0 ||
           call.rfind("VemraPKICryptoDeleteData", 0) == 0;
}

int _slot_in(const std::string& call) {
    return std::stoi(call.substr(call.find(", ") + 2));
}

/** For example: WriteData of 8130, 7 bytes. */
std::string _change(const std::string& call) {
    const std::string prefix = "VemraPKICrypto";
    std::string text = "`" + call.substr(prefix.size(), call.find('(') - prefix.size()) + "` of " +
                       std::to_string(_slot_in(call));
    if (text.find("Delete") != std::string::npos) return text;
    return text + ", " + call.substr(call.rfind(' ') + 1, call.rfind(')') - call.rfind(' ') - 1) +
           " bytes";
}

std::map<int, std::string> _slots_at(const cut_case& one, const token& device,
                                     const cut_point& cut) {
    model_token model(one, device);
    model.devices.plan_next(
        {cut.nth, cut.is_after ? disturbance::cut_after : disturbance::cut_before});
    one.act(model.library, device, model.listed);
    return model.devices.attached.front()->slots;
}

std::string _last_change(const std::vector<std::string>& calls, const cut_point& cut) {
    const int made = cut.is_after ? cut.nth : cut.nth - 1;
    if (cut.torn_bytes != 0) {
        return "in " + _change(calls[static_cast<std::size_t>(cut.nth) - 1]);
    }
    for (int i = made; i-- > 0;) {
        const std::string& call = calls[static_cast<std::size_t>(i)];
        if (_changes(call)) return _change(call);
    }
    return {};
}

}  // namespace

std::map<int, std::string> listed_slots(const token_state& state) {
    std::map<int, std::string> slots = state.orphans;
    std::map<unsigned int, std::string> names;
    for (const auto& [slot, bytes] : state.stamps) {
        names[slot] = "A" + std::to_string(names.size() + 1);
        if (!bytes.empty()) slots[static_cast<int>(slot)] = bytes;
    }
    if (!names.empty()) slots[8127] = reference_mapping::write(names);
    return slots;
}

std::map<int, std::string> slots_of(const token_state& state) {
    std::map<int, std::string> slots = listed_slots(state);
    for (const int slot : state.lost)
        slots.erase(slot);
    return slots;
}

const new_stamp& later_stamp() {
    static const new_stamp stamp{"later", "appended after the cut"};
    return stamp;
}

int written_length(const std::string& call) {
    if (call.rfind("VemraPKICryptoWriteData", 0) != 0) return 0;
    return std::stoi(call.substr(call.rfind(' ') + 1));
}

std::vector<std::string> all_calls(const cut_case& one, const token& device) {
    model_token model(one, device);
    model.devices.plan_next({});
    one.act(model.library, device, model.listed);
    return model.devices.calls;
}

cut_outcome model_outcome(const cut_case& one, const token& device, const cut_point& cut) {
    const std::vector<std::string> calls = all_calls(one, device);
    cut_outcome outcome;
    outcome.slots = _slots_at(one, device, cut);
    if (cut.torn_bytes != 0) {
        const int slot = _slot_in(calls[static_cast<std::size_t>(cut.nth) - 1]);
        const auto arrived = static_cast<std::size_t>(cut.torn_bytes);
        const std::string whole = _slots_at(one, device, {cut.nth, true, 0}).at(slot);
        outcome.slots.at(slot).replace(0, arrived, whole, 0, arrived);
    }
    outcome.last_change = _last_change(calls, cut);

    model_token next({}, device);
    next.devices.attached.front()->slots = outcome.slots;
    outcome.list = next.library.list();
    const seen_call appended =
        next.library.append(device.serial, device.type, nullptr, later_stamp());
    outcome.append_status = appended.status;
    outcome.slots_after_append = next.devices.attached.front()->slots;
    return outcome;
}
