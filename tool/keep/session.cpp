#include "keep/session.h"

#include <algorithm>

#include "basics/text.h"
#include "keep/cause.h"
#include "keep/describe.h"
#include "keep/slots.h"

namespace vemra::tool {

namespace {

std::string _list(const std::vector<device_id>& devices) {
    std::string text;
    for (const device_id& device : devices) {
        text += "\n  " + describe(device);
    }
    return text;
}

// Errors of an enumeration may be those of another device.
bool _is_whole(session& tokens, const device_id& device, const stamp_list& list) {
    const mapping_record record = read_mapping(tokens, device);
    return record.faults.empty() && record.listed_slots().size() == list.stamps.size();
}

}  // namespace

template <typename Call>
auto session::traced(Call call) -> decltype(call(std::declval<tokens&>())) {
    struct taker {
        session& owner;
        ~taker() { owner.errors_ = owner.trace_.take(owner.password_); }
    };
    try {
        const taker take_trace{*this};
        return call(*tokens_);
    } catch (const std::exception& error) {
        const std::string cause = cause_of(error.what());
        throw failure(exit_code::failed, "the device failed: " + printable(cause),
                      {{"cause", cause}});
    }
}

std::string session::cause() const {
    return errors_.empty() ? "no reason given" : printable(cause_of(errors_.back()));
}

std::vector<device_id> session::devices() {
    std::vector<device_id> found = traced([](tokens& all) { return all.list_devices(); });
    if (found.empty()) {
        throw failure(exit_code::no_device, errors_.empty()
                                                ? "no device is attached"
                                                : "no device can be reached: " + cause());
    }
    return found;
}

device_id session::find_device(const std::string& serial, int type) {
    const std::vector<device_id> attached = devices();
    std::vector<device_id> matching;
    for (const device_id& device : attached) {
        if (!serial.empty() && device.serial != serial) continue;
        if (type != -1 && device.type != type) continue;
        matching.push_back(device);
    }
    if (matching.empty()) {
        throw failure(exit_code::no_device, "no such device; attached:" + _list(attached));
    }
    if (matching.size() > 1) {
        throw failure(exit_code::usage,
                      "several devices are meant; name one with --device and --device-type:" +
                          _list(matching));
    }
    return matching.front();
}

stamp_list session::stamps(const std::optional<device_id>& only) {
    stamp_list list = traced([&](tokens& all) { return all.list_stamps(only); });
    if (list.unreadable > 0 && errors_.empty()) {
        errors_.push_back(std::to_string(list.unreadable) + " stamps could not be read");
    }
    if (list.status == 1) return list;
    const std::vector<std::string> errors = errors_;
    const bool none = std::any_of(errors.begin(), errors.end(),
                                  [](const std::string& text) { return text == "No device."; });
    if (none) throw failure(exit_code::no_device, "no device is attached");
    throw failure(exit_code::failed, "the stamps cannot be listed: " + cause(),
                  {{"cause", cause()}});
}

std::vector<stamp> session::all_stamps(const device_id& device) {
    stamp_list list = stamps(device);
    if (list.unreadable == 0 && errors_.empty()) return std::move(list.stamps);
    const std::string found = cause();
    if (list.unreadable == 0 && _is_whole(*this, device, list)) return std::move(list.stamps);
    throw failure(exit_code::failed,
                  "the stamps of " + describe(device) + " cannot all be read: " + found +
                      "\nSee: vemra-stamp check",
                  {{"cause", found}});
}

int session::append(const device_id& device, const std::string& name, const std::string& data) {
    return traced([&](tokens& all) { return all.append(device, password_.c_str(), name, data); });
}

int session::update(const std::string& uuid, const std::string& name, const std::string& data) {
    return traced([&](tokens& all) { return all.update(uuid, password_.c_str(), name, data); });
}

int session::remove(const std::string& uuid) {
    return traced([&](tokens& all) { return all.remove(uuid, password_.c_str()); });
}

password_answer session::verify_password(const device_id& device) {
    return traced([&](tokens& all) { return all.verify_password(device, password_.c_str()); });
}

std::string session::read_slot(const device_id& device, int slot) {
    return traced([&](tokens& all) { return all.read_slot(device, slot); });
}

void session::write_slot(const device_id& device, int slot, const std::string& bytes) {
    traced([&](tokens& all) { all.write_slot(device, slot, bytes); });
}

stamp_mapping session::parse_mapping(const std::string& record) {
    return traced([&](tokens& all) { return all.parse_mapping(record); });
}

std::string session::encode_mapping(const stamp_mapping& mapping) {
    return traced([&](tokens& all) { return all.encode_mapping(mapping); });
}

bool session::is_sealed(const std::string& bytes) {
    return traced([&](tokens& all) { return all.is_sealed(bytes); });
}

std::string session::library_version() {
    return traced([](tokens& all) { return all.library_version(); });
}

}  // namespace vemra::tool
