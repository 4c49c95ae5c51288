#include "sweep/faults/stage.h"

#include <gtest/gtest.h>

#include "model/planned_fault.h"
#include "model/reference_mapping.h"
#include "support/allocation_faults.h"
#include "sweep/faults/bystanders.h"

namespace {

int _new_number() {
    static int devices = 0;
    return devices += 2;
}

}  // namespace

stage::stage() : stage(_new_number(), sides::both) {}

stage::stage(int number, sides which)
    : is_live_(which == sides::both), blocks_before_(allocation_faults::live_blocks()) {
    add_device("B", number, 1);
    add_device("A", number + 1, -1);
    fill_device(0, mapping_slot, reference_mapping::write({{8133, "B1"}}));
    fill_device(0, 8133, "bystander");
}

void stage::add_device(const std::string& label, int number, int certificates) {
    auto device = std::make_shared<model_device>();
    device->label = label;
    device->type = number;
    device->serial = label + "-" + std::to_string(device->type);
    device->certificates = certificates;
    fake.add_device(device->serial, device->type, label);
    if (certificates >= 0) {
        fake.add_keypair(label,
                         std::vector<std::string>(static_cast<std::size_t>(certificates), "der"));
    }
    devices.attached.push_back(device);
}

void stage::fill_device(std::size_t index, int slot, const std::string& bytes) {
    fake.fill_slot(devices.attached[index]->label, slot, bytes);
    devices.attached[index]->slots[slot] = bytes;
}

void stage::fill(const std::map<int, std::string>& slots) {
    for (const auto& [slot, bytes] : slots)
        fill_device(1, slot, bytes);
}

void stage::store_stamps(const std::map<unsigned int, std::string>& stamps) {
    std::map<unsigned int, std::string> names;
    for (const auto& [slot, bytes] : stamps) {
        names[slot] = "A" + std::to_string(names.size() + 1);
        fill_device(1, static_cast<int>(slot), bytes);
    }
    fill_device(1, mapping_slot, reference_mapping::write(names));
}

void stage::lose_slot(int slot) {
    fake.empty_slot("A", slot);
    devices.attached[1]->slots.erase(slot);
}

void stage::require_login() {
    fake.require_login("A");
    devices.attached[1]->needs_login = true;
}

void stage::know_all() {
    const seen_call seen = compare([](stamp_library& library) { return library.list(); });
    for (const seen_stamp& stamp : seen.stamps)
        if (stamp.name.front() == 'A') uuids_.push_back(stamp.uuid);
}

void stage::hold() {
    const seen_call seen = compare([](stamp_library& library) { return library.list(); });
    model.hold(seen.stamps.back(), static_cast<unsigned int>(seen.stamps.size()));
    if (is_live_) live.hold();
}

void stage::disturb(const planned_disturbance& plan) {
    devices.plan_next(plan);
    fake.clear_calls();
    plan_in_fake(fake, plan);
}

seen_call stage::compare(const std::function<seen_call(stamp_library&)>& act) {
    seen_call due = act(model);
    if (!is_live_) return due;
    seen_call seen = act(live);
    expect_same(seen, due);
    return seen;
}

void stage::expect_same(const seen_call& seen, const seen_call& due) {
    EXPECT_EQ(seen.has_ended, due.has_ended);
    EXPECT_EQ(seen.escaped, due.escaped);
    EXPECT_EQ(seen.status, due.status);
    EXPECT_EQ(seen.last_status, due.last_status);
    EXPECT_EQ(seen.lines, due.lines);
    EXPECT_EQ(seen.stamps, due.stamps);
    EXPECT_EQ(seen.owner_serial, due.owner_serial);
    EXPECT_EQ(seen.owner_type, due.owner_type);
    EXPECT_EQ(seen.outputs, due.outputs);
    EXPECT_EQ(fake.calls(), devices.calls);
    std::vector<std::map<int, std::string>> slots;
    for (const auto& device : devices.attached)
        slots.push_back(device->slots);
    EXPECT_EQ(fake_slots(), slots);
    EXPECT_EQ(fake.live_handles_and_buffers(), devices.live_handles + devices.lost_handles);
    EXPECT_EQ(fake.misuses(), std::vector<std::string>{});
}

std::vector<std::map<int, std::string>> stage::fake_slots() const {
    std::vector<std::map<int, std::string>> result;
    for (const auto& device : devices.attached) {
        std::map<int, std::string>& slots = result.emplace_back();
        for (int slot = lowest_watched_slot; slot <= highest_watched_slot; ++slot) {
            const std::optional<std::string> bytes = fake.slot(device->label, slot);
            if (bytes) slots[slot] = *bytes;
        }
    }
    return result;
}

void stage::go_on(const scenario& one) {
    const auto list = [](stamp_library& library) { return library.list(); };
    const auto act = [&](stamp_library& library) { return one.act(library, *this); };
    const auto compare_alone = [&](int own_slot, const auto& work) {
        disturb({});
        const bystanders others(*this, own_slot);
        EXPECT_EQ(others.losses_untold_by(compare(work)), std::set<std::string>{});
    };
    compare_alone(no_slot, list);
    compare_alone(one.own_slot, act);
    compare_alone(no_slot, list);
    compare_memory();
}

void stage::compare_memory() {
    live.forget_taken();
    live.let_go();
    EXPECT_EQ(allocation_faults::live_blocks() - blocks_before_, model.kept_blocks());
}
