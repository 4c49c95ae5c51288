#include "sweep/power_cut.h"

#include "sweep/model_record.h"

namespace {

using stamps = std::vector<seen_stamp>;

auto _append(const std::string& data) {
    return [=](stamp_library& library, const token& device, const stamps&) {
        library.append(device.serial, device.type, nullptr, {"new", data});
    };
}

auto _update(std::size_t index, const std::string& data) {
    return [=](stamp_library& library, const token&, const stamps& listed) {
        library.update(listed.at(index).uuid, nullptr, {"renamed", data});
    };
}

auto _remove(std::size_t index) {
    return [=](stamp_library& library, const token&, const stamps& listed) {
        library.remove(listed.at(index).uuid, nullptr);
    };
}

const std::map<unsigned int, std::string> one_stamp{{8130, "hello"}};
const std::map<unsigned int, std::string> three_stamps{
    {8130, "first"}, {8131, "second"}, {8132, "third"}};
const std::map<unsigned int, std::string> four_stamps{
    {8130, "first"}, {8131, "second"}, {8132, "third"}, {8133, "fourth"}};

/** A token in the model with the case's slots, listed once. */
struct model_token {
    model_token(const cut_case& one, const token& device) : library(devices) {
        auto attached = std::make_shared<model_device>();
        attached->label = "T";
        attached->serial = device.serial;
        attached->type = device.type;
        attached->slots = slots_of(one);
        devices.attached.push_back(attached);
        listed = library.list().stamps;
    }

    model_devices devices;
    model_library library;
    stamps listed;
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

std::map<int, std::string> slots_of(const cut_case& one) {
    std::map<int, std::string> slots = one.orphans;
    std::map<unsigned int, std::string> names;
    for (const auto& [slot, bytes] : one.stamps) {
        names[slot] = "A" + std::to_string(names.size() + 1);
        if (!bytes.empty()) slots[static_cast<int>(slot)] = bytes;
    }
    if (!names.empty()) slots[8127] = model_record(names);
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

const std::vector<cut_case>& all_cut_cases() {
    static const std::vector<cut_case> all{
        {"append_first",
         "Append to a token without stamps",
         {},
         {},
         8130,
         "picture",
         _append("picture")},
        {"append_beside_one",
         "Append beside one stamp",
         one_stamp,
         {},
         8131,
         "picture",
         _append("picture")},
        {"append_beside_four",
         "Append the fifth stamp",
         four_stamps,
         {},
         8134,
         "picture",
         _append("picture")},
        {"append_over_orphan",
         "Append where bytes without an entry lie",
         {{8131, "kept"}},
         {{8130, "an orphan"}},
         8130,
         "picture",
         _append("picture")},
        {"update_same_size",
         "Update with as many bytes",
         one_stamp,
         {},
         8130,
         "HELLO",
         _update(0, "HELLO")},
        {"update_smaller", "Update with fewer bytes", one_stamp, {}, 8130, "hi", _update(0, "hi")},
        {"update_larger",
         "Update with more bytes, beside two stamps",
         three_stamps,
         {},
         8131,
         "much longer",
         _update(1, "much longer")},
        {"update_again",
         "Update under a name as long, beside two stamps",
         {{8130, "first"}, {8131, "second"}, {8132, "third"}},
         {},
         8131,
         "2nd try",
         [](stamp_library& library, const token&, const stamps& listed) {
             library.update(listed.at(1).uuid, nullptr, {"B2", "2nd try"});
         }},
        {"update_absent_slot",
         "Update a stamp whose slot is absent",
         {{8130, ""}},
         {},
         8130,
         "back",
         _update(0, "back")},
        {"update_sealed",
         "Update a sealed slot",
         {{8130, "VemraSeal"}},
         {},
         8130,
         "plain",
         _update(0, "plain")},
        {"delete_only", "Delete the only stamp", one_stamp, {}, 8130, "", _remove(0)},
        {"delete_one_of_three",
         "Delete one of three stamps",
         three_stamps,
         {},
         8131,
         "",
         _remove(1)},
        {"delete_sealed",
         "Delete a sealed slot",
         {{8130, "VemraSeal"}, {8131, "plain"}},
         {},
         8130,
         "",
         _remove(0)}};
    return all;
}
