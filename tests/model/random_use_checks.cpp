// How a use of the library is compared with the model.

#include <algorithm>
#include <stdexcept>

#include "model/random_use.h"

namespace {

// All slots that a use may touch, and some on either side that it must not.
constexpr int first_watched_slot = 8126;
constexpr int last_watched_slot = 8136;
constexpr int mapping_slot = 8127;

std::string _difference(const text_lines& actual, const text_lines& wanted) {
    for (std::size_t i = 0; i < actual.size() || i < wanted.size(); ++i) {
        const std::string is = i < actual.size() ? actual[i] : "nothing";
        const std::string should = i < wanted.size() ? wanted[i] : "nothing";
        if (is != should) return "printed: " + is + "\n  instead of: " + should;
    }
    return {};
}

std::optional<std::string> _held(const std::map<int, std::string>& slots, int id) {
    const auto found = slots.find(id);
    if (found == slots.end()) return std::nullopt;
    return found->second;
}

std::string _shown(const std::optional<std::string>& bytes) {
    return bytes ? "\"" + hex_text(*bytes) + "\"" : "absent";
}

bool _is_zero_filled(const std::string& bytes) {
    return bytes.find_first_not_of('\0') == std::string::npos;
}

}  // namespace

std::string random_use::compare(const expected& wanted, const std::function<int()>& call) {
    const std::string difference = compare_call(wanted, call);
    if (!difference.empty()) return wanted.lines.front() + ": " + difference;
    for (std::size_t i = 0; i < model_.devices.size(); ++i) {
        for (const auto& slot : model_.devices[i].slots)
            contents_[i].insert(slot.second);
    }
    return {};
}

std::string random_use::compare_call(const expected& wanted, const std::function<int()>& call) {
    std::optional<int> status;
    const std::optional<text_lines> lines = listen_([&] {
        if (!is_under_fault_) {
            status = call();
            return;
        }
        // A scripted exception may leave a function; nothing else that is thrown may.
        try {
            status = call();
        } catch (const std::runtime_error&) {
        } catch (int) {
        }
    });
    if (is_under_fault_ && fake_.fault_fired()) {
        has_struck_ = true;
        const std::string judgement = judge_struck_call(wanted, status);
        adopt_devices();
        return judgement;
    }

    if (status != wanted.status) {
        return "status " + std::to_string(*status) + " instead of " + std::to_string(wanted.status);
    }
    int last_status = 77;
    listen_([&] { last_status = VemraAppStampGetLastError(); });
    if (last_status != wanted.status) return "last status " + std::to_string(last_status);
    if (lines && *lines != wanted.lines) return _difference(*lines, wanted.lines);
    const std::string devices = compare_devices();
    return devices.empty() ? compare_handles() : devices;
}

std::string random_use::compare_devices() const {
    for (unsigned int i = 0; i < model_.devices.size(); ++i) {
        const model_device& device = model_.devices[i];
        if (!device.is_plugged) continue;
        const std::map<int, std::string> actual = slots_in_fake(i);
        for (int id = first_watched_slot; id <= last_watched_slot; ++id) {
            if (_held(actual, id) == _held(device.slots, id)) continue;
            return "slot " + std::to_string(id) + " of " + device.label + " is " +
                   _shown(_held(actual, id)) + " instead of " + _shown(_held(device.slots, id));
        }
        if (fake_.retries(device.label) != device.retries) return "another retry count";
        if (fake_.is_logged_in(device.label) != device.is_logged_in) return "another login";
    }
    return {};
}

std::string random_use::compare_handles() const {
    if (!fake_.misuses().empty()) return fake_.misuses().front();
    if (fake_.live_buffers() != 0) return "a buffer of the device library is lost";
    if (fake_.live_hashes() != 0) return "a hash is lost";
    const int wanted = static_cast<int>(model_.live_objects().size()) + extra_objects_;
    if (are_objects_counted_ && fake_.live_devices() != wanted) {
        return std::to_string(fake_.live_devices()) + " live devices instead of " +
               std::to_string(wanted);
    }
    return {};
}

// A call that met a fault: what it may return, leave on the devices and keep.
std::string random_use::judge_struck_call(const expected& wanted, std::optional<int> status) const {
    constexpr int documented[] = {1, 0};
    const bool is_documented =
        !status || status == wanted.status ||
        std::find(std::begin(documented), std::end(documented), *status) != std::end(documented);
    if (!is_documented) return "status " + std::to_string(*status) + " under a fault";

    const bool is_done = status == 1;
    for (unsigned int i = 0; i < model_.devices.size(); ++i) {
        if (!model_.devices[i].is_plugged) continue;
        const std::map<int, std::string> actual = slots_in_fake(i);
        for (int id = first_watched_slot; id <= last_watched_slot; ++id) {
            const std::string judgement =
                judge_slot(i, id, _held(actual, id), is_done, wanted.status == 1);
            if (!judgement.empty()) return judgement;
        }
    }
    if (!fake_.misuses().empty()) return fake_.misuses().front();
    if (fake_.live_buffers() != 0) return "a buffer of the device library is lost under a fault";
    if (fake_.live_hashes() != 0) return "a hash is lost under a fault";
    const int before = static_cast<int>(before_.live_objects().size()) + extra_objects_;
    const bool may_register = wanted.lines.front().find("GetAllStamps") != std::string::npos;
    const int most = before + (may_register ? static_cast<int>(model_.devices.size()) : 0);
    const int live = fake_.live_devices();
    return live < before || live > most ? "a device is lost under a fault" : "";
}

// The named slot and the mapping may hold what they held, what they were to hold, zero bytes or
// nothing, and what a restore brings back from an earlier failure. Nothing else may change.
std::string random_use::judge_slot(unsigned int device, int id,
                                   const std::optional<std::string>& is, bool is_done,
                                   bool is_foreseen) const {
    const std::optional<std::string> was = _held(before_.devices[device].slots, id);
    const std::optional<std::string> should = _held(model_.devices[device].slots, id);
    const auto& change = model_.change;
    const bool may_change =
        change && change->device == device && (id == change->slot || id == mapping_slot);
    const std::string place = "slot " + std::to_string(id) + ": ";
    if (is_done && id == mapping_slot && may_change && is != change->record) {
        return place + _shown(is) + " although done: " + _shown(change->record);
    }
    if (is_done && is_foreseen) {
        return is == should ? "" : place + _shown(is) + " although done: " + _shown(should);
    }
    if (is == was || !is) return is == was || may_change ? "" : place + "gone under a fault";
    if (!may_change) return place + "changed under a fault: " + _shown(is);
    const bool is_explained = is == (id == mapping_slot ? change->record : change->bytes) ||
                              _is_zero_filled(*is) || contents_[device].count(*is) == 1;
    return is_explained ? "" : place + "foreign bytes under a fault: " + _shown(is);
}

// After a fault the devices are what they are; the model goes on from there.
void random_use::adopt_devices() {
    model_ = before_;
    for (unsigned int i = 0; i < model_.devices.size(); ++i) {
        model_device& device = model_.devices[i];
        if (!device.is_plugged) continue;
        device.slots = slots_in_fake(i);
        device.retries = fake_.retries(device.label);
        device.is_logged_in = fake_.is_logged_in(device.label);
    }
}

std::map<int, std::string> random_use::slots_in_fake(unsigned int device) const {
    std::map<int, std::string> slots;
    for (int id = first_watched_slot; id <= last_watched_slot; ++id) {
        const std::optional<std::string> bytes = fake_.slot(model_.devices[device].label, id);
        if (bytes) slots[id] = *bytes;
    }
    return slots;
}
