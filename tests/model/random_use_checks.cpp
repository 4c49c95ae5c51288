// How a use of the library is compared with the model.

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <stdexcept>

#include "model/random_use.h"
#include "support/hex_text.h"

namespace {

using slots = std::map<int, std::string>;

constexpr int mapping_slot = 8127;

std::string _difference(const text_lines& actual, const text_lines& wanted) {
    for (std::size_t i = 0; i < actual.size() || i < wanted.size(); ++i) {
        const std::string is = i < actual.size() ? actual[i] : "nothing";
        const std::string should = i < wanted.size() ? wanted[i] : "nothing";
        if (is != should) return "printed: " + is + "\n  instead of: " + should;
    }
    return {};
}

std::optional<std::string> _held(const slots& all, int id) {
    const auto found = all.find(id);
    if (found == all.end()) return std::nullopt;
    return found->second;
}

std::set<int> _ids(std::initializer_list<const slots*> devices) {
    std::set<int> ids;
    for (const slots* all : devices)
        for (const auto& slot : *all)
            ids.insert(slot.first);
    return ids;
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
    live_before_ = fake_.live_devices();
    std::optional<int> status;
    const std::optional<text_lines> lines = listen_([&] {
        if (!fault_) {
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
    int last_status = 77;
    listen_([&] { last_status = VemraAppStampGetLastError(); });
    if (fault_ && fake_.fault_fired()) {
        has_struck_ = true;
        are_objects_counted_ = false;
        const std::string judgement = judge_struck_call(wanted, status);
        adopt_devices();
        if (!judgement.empty() || last_status == status.value_or(last_status)) return judgement;
        return "last status " + std::to_string(last_status) + " under a fault";
    }

    if (status != wanted.status) {
        return "status " + std::to_string(*status) + " instead of " + std::to_string(wanted.status);
    }
    if (last_status != wanted.status) return "last status " + std::to_string(last_status);
    if (lines && *lines != wanted.lines) return _difference(*lines, wanted.lines);
    const std::string devices = compare_devices();
    return devices.empty() ? compare_handles() : devices;
}

std::string random_use::compare_devices() const {
    for (unsigned int i = 0; i < model_.devices.size(); ++i) {
        const model_device& device = model_.devices[i];
        const slots actual = fake_.slots(device.label);
        for (const int id : _ids({&actual, &device.slots})) {
            if (_held(actual, id) == _held(device.slots, id)) continue;
            return "slot " + std::to_string(id) + " of " + device.label + " is " +
                   _shown(_held(actual, id)) + " instead of " + _shown(_held(device.slots, id));
        }
        if (fake_.retries(device.label) != device.retries) return "another retry count";
        if (fake_.is_logged_in(device.label) != device.is_logged_in) return "another login";
    }
    return {};
}

// The fields that callers read for themselves.
std::string random_use::compare_records() const {
    for (const held_record& held : records_) {
        const VEMRA_APP_STAMP_RECORD& record = *held.record;
        const std::string place = "record of " + held.stamp.name + ": ";
        if (record.type != 1) return place + "type " + std::to_string(record.type);
        if (record.name_length != held.stamp.name.size()) return place + "another name length";
        if (record.name != held.stamp.name) return place + "another name: " + record.name;
        if (record.data_length != held.stamp.bytes.size()) return place + "another data length";
        const std::string bytes(reinterpret_cast<const char*>(record.data), record.data_length);
        if (bytes != held.stamp.bytes) return place + "other bytes: " + hex_text(bytes);
        if (bytes.empty() != (record.data == nullptr)) return place + "a buffer without bytes";
        if (record.reserved != nullptr) return place + "the reserved field is used";
        if (record.own_device == nullptr) return place + "no device";
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
        const model_device& device = model_.devices[i];
        const slots actual = fake_.slots(device.label);
        for (const int id : _ids({&actual, &device.slots, &before_.devices[i].slots})) {
            const std::string judgement =
                judge_slot(i, id, _held(actual, id), is_done, wanted.status == 1);
            if (!judgement.empty()) return judgement;
        }
    }
    if (!fake_.misuses().empty()) return fake_.misuses().front();
    if (fake_.live_buffers() != 0) return "a buffer of the device library is lost under a fault";
    if (fake_.live_hashes() != 0) return "a hash is lost under a fault";
    const bool may_register = wanted.lines.front().find("GetAllStamps") != std::string::npos;
    const int most = live_before_ + (may_register ? static_cast<int>(model_.devices.size()) : 0);
    const int live = fake_.live_devices();
    return live < live_before_ || live > most ? "a device is lost under a fault" : "";
}

// The named slot and the mapping may hold what they held, what they were to hold, zero bytes or
// nothing, and what a restore brings back from an earlier failure. Nothing else may change.
std::string random_use::judge_slot(unsigned int device, int id,
                                   const std::optional<std::string>& is, bool is_done,
                                   bool is_foreseen) const {
    const std::optional<std::string> was = _held(before_.devices[device].slots, id);
    const std::optional<std::string> should = _held(model_.devices[device].slots, id);
    const std::vector<model_change> changes = possible_changes(device, id);
    const std::string place = "slot " + std::to_string(id) + ": ";
    if (is_done && !may_lie_about_slots()) {
        const bool is_written = id == mapping_slot && !changes.empty();
        const auto& wanted = is_foreseen ? should : is_written ? changes.front().record : is;
        if (is != wanted) return place + _shown(is) + " although done: " + _shown(wanted);
        if (is_foreseen) return {};
    }
    if (is == was) return {};
    if (changes.empty()) return place + "changed under a fault: " + _shown(is);
    const bool is_explained =
        !is || _is_zero_filled(*is) || contents_[device].count(*is) == 1 ||
        std::any_of(changes.begin(), changes.end(), [&](const model_change& change) {
            return is == (id == mapping_slot ? change.record : change.bytes);
        });
    return is_explained ? "" : place + "foreign bytes under a fault: " + _shown(is);
}

// What the call may have made of a slot.
std::vector<model_change> random_use::possible_changes(unsigned int device, int id) const {
    std::vector<model_change> changes;
    if (model_.change) changes.push_back(*model_.change);
    if (may_lie_about_slots()) {
        changes.insert(changes.end(), model_.misread_changes.begin(), model_.misread_changes.end());
    }
    const auto concerns = [&](const model_change& change) {
        return change.device == device && (id == change.slot || id == mapping_slot);
    };
    changes.erase(std::remove_if(changes.begin(), changes.end(), std::not_fn(concerns)),
                  changes.end());
    return changes;
}

bool random_use::may_lie_about_slots() const {
    const bool is_of_slots =
        fault_->function.empty() || fault_->function.find("Data") != std::string::npos;
    return is_of_slots && fault_->what.what == fault::kind::claims_success;
}

// After a fault the devices are what they are; the model goes on from there.
void random_use::adopt_devices() {
    model_ = before_;
    for (unsigned int i = 0; i < model_.devices.size(); ++i) {
        model_device& device = model_.devices[i];
        device.slots = fake_.slots(device.label);
        device.retries = fake_.retries(device.label);
        device.is_logged_in = fake_.is_logged_in(device.label);
    }
}
