#include "sweep/crowd/meeting.h"

#include "support/child_process.h"
#include "sweep/crowd/plain_calls.h"
#include "sweep/gate/device_gate.h"
#include "sweep/raw_slots.h"

namespace {

named_bytes _pairs(const std::vector<seen_stamp>& stamps) {
    named_bytes result;
    for (const seen_stamp& stamp : stamps)
        result.emplace_back(stamp.name, stamp.data);
    return result;
}

/** A token in the model. */
struct model_token {
    model_token(const token& device, const slot_bytes& slots) {
        attached->label = "T";
        attached->serial = device.serial;
        attached->type = device.type;
        attached->slots = slots;
        devices.attached.push_back(attached);
    }

    model_devices devices;
    std::shared_ptr<model_device> attached = std::make_shared<model_device>();
};

}  // namespace

writer appending(const new_stamp& stamp) {
    return {[=](const token& device, const std::vector<seen_stamp>&) {
                return append_stamp(device, stamp);
            },
            [=](model_library& library, const token& device, const std::vector<seen_stamp>&) {
                return library.append(device.serial, device.type, nullptr, stamp).status;
            }};
}

writer updating(std::size_t index, const new_stamp& stamp) {
    return {[=](const token&, const std::vector<seen_stamp>& stamps) {
                return update_stamp(stamps.at(index).uuid, stamp);
            },
            [=](model_library& library, const token&, const std::vector<seen_stamp>& stamps) {
                return library.update(stamps.at(index).uuid, nullptr, stamp).status;
            }};
}

writer deleting(std::size_t index) {
    return {[=](const token&, const std::vector<seen_stamp>& stamps) {
                return delete_stamp(stamps.at(index).uuid);
            },
            [=](model_library& library, const token&, const std::vector<seen_stamp>& stamps) {
                return library.remove(stamps.at(index).uuid, nullptr).status;
            }};
}

meeting model_meeting(const token& device, const slot_bytes& before, const writer& first,
                      const writer& visitor, int nth) {
    model_token model(device, before);
    model_library one(model.devices);
    model_library other(model.devices);
    const auto known = one.list().stamps;
    const auto known_to_other = other.list().stamps;

    meeting met;
    model.devices.visitor = [&] {
        met.call = model.devices.calls.back();
        met.visitor_status = visitor.model(other, device, known_to_other);
    };
    model.devices.plan_next({nth, disturbance::visited});
    met.status = first.model(one, device, known);
    model.devices.plan_next({});
    met.slots = model.attached->slots;
    met.listed = _pairs(one.list().stamps);
    return met;
}

slot_bytes slots_in_turn(const token& device, const slot_bytes& before,
                         const std::vector<writer>& writers) {
    model_token model(device, before);
    model_library library(model.devices);
    const auto known = library.list().stamps;
    for (const writer& each : writers)
        each.model(library, device, known);
    return model.attached->slots;
}

meeting live_meeting(const token& device, const writer& first, const writer& visitor, int nth) {
    discard_trace();
    waiting_child other([&] {
        const auto known = listed_stamps(device);
        return [&visitor, &device, known] { return std::to_string(visitor.live(device, known)); };
    });
    const auto known = listed_stamps(device);

    meeting met;
    int count = 0;
    device_gate::watch([&](const device_gate::call& passing, device_gate::moment when) {
        if (when == device_gate::moment::after || ++count != nth) return;
        met.call = passing.function;
        met.visitor_status = std::stoi(other.work().told);
    });
    met.status = first.live(device, known);
    device_gate::watch({});
    met.slots = raw_slots();
    met.listed = _pairs(listed_stamps(device));
    return met;
}
