// How a use of the library is compared with the model.

#include <algorithm>
#include <exception>

#include "model/random_use.h"
#include "support/hex_text.h"

namespace {

constexpr int failed_before = -2;

std::string _difference(const text_lines& actual, const text_lines& wanted) {
    for (std::size_t i = 0; i < actual.size() || i < wanted.size(); ++i) {
        const std::string is = i < actual.size() ? actual[i] : "nothing";
        const std::string should = i < wanted.size() ? wanted[i] : "nothing";
        if (is != should) return "printed: " + is + "\n  instead of: " + should;
    }
    return {};
}

std::string _shown(const std::map<int, std::string>& slots) {
    std::string text;
    for (const auto& [id, bytes] : slots)
        text += " " + std::to_string(id) + ": " + hex_text(bytes);
    return text;
}

std::string _status(const char* word, int is, int should) {
    return std::string(word) + " " + std::to_string(is) + " instead of " + std::to_string(should);
}

}  // namespace

std::string random_use::compare(const seen_call& wanted, const std::function<int()>& call) {
    std::string difference = compare_call(wanted, call);
    if (difference.empty()) difference = compare_devices();
    if (difference.empty()) difference = compare_handles();
    fake_.clear_calls();
    devices_.calls.clear();
    return difference.empty() ? "" : wanted.lines.front() + ": " + difference;
}

std::string random_use::compare_call(const seen_call& wanted, const std::function<int()>& call) {
    // A failure that the call must not leave behind; only one that an exception leaves keeps it.
    listen_([] { VemraAppStampFreeMemory(nullptr); });
    const int last_due = wanted.escaped ? failed_before : wanted.last_status;
    int status = 0;
    std::string escaped;
    const std::optional<text_lines> lines = listen_([&] {
        try {
            status = call();
        } catch (const std::exception& thrown) {
            escaped = thrown.what();
        } catch (int thrown) {
            escaped = std::to_string(thrown);
        }
    });
    if (escaped != wanted.escaped.value_or("")) return "thrown: " + escaped;
    if (status != wanted.status) return _status("status", status, wanted.status);
    if (const int last = last_status(); last != last_due) {
        return _status("last status", last, last_due);
    }
    if (lines && *lines != wanted.lines) return _difference(*lines, wanted.lines);
    const text_lines calls = fake_.calls();
    return calls == devices_.calls ? "" : "device library: " + _difference(calls, devices_.calls);
}

int random_use::last_status() const {
    int status = 77;
    listen_([&] { status = VemraAppStampGetLastError(); });
    return status;
}

std::string random_use::compare_devices() const {
    for (const std::string& label : labels_) {
        const model_device& device = device_named(label);
        const std::map<int, std::string> slots = fake_.slots(label);
        if (slots != device.slots) {
            return "slots of " + label + ":" + _shown(slots) + " instead of" + _shown(device.slots);
        }
        if (fake_.retries(label) != device.retries) return "another retry count";
        if (fake_.is_logged_in(label) != device.is_logged_in) return "another login";
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
        if (record.data_length != held.stamp.data.size()) return place + "another data length";
        const std::string bytes(reinterpret_cast<const char*>(record.data), record.data_length);
        if (bytes != held.stamp.data) return place + "other bytes: " + hex_text(bytes);
        if (bytes.empty() != (record.data == nullptr)) return place + "a buffer without bytes";
        if (record.reserved != nullptr) return place + "the reserved field is used";
        if (record.own_device == nullptr) return place + "no device";
    }
    return {};
}

std::string random_use::compare_handles() const {
    if (!fake_.misuses().empty()) return fake_.misuses().front();
    const int live = fake_.live_handles_and_buffers();
    const int due = devices_.live_handles + devices_.lost_handles;
    return live == due ? "" : _status("handles and buffers", live, due);
}
