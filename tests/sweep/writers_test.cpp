// Two writers on one token. Before every device call of the one the other does its whole operation,
// as another process might. The token's files stay sound, the slots are what the model says, and
// the test tells what the writers lose of each other though both are told success.

#include <gtest/gtest.h>

#include "sweep/child_process.h"
#include "sweep/gate/device_gate.h"
#include "sweep/model_record.h"
#include "sweep/plain_calls.h"
#include "sweep/power_cut.h"
#include "sweep/raw_slots.h"
#include "sweep/saved_tokens.h"

namespace {

using named_bytes = std::vector<std::pair<std::string, std::string>>;
using operation = std::function<int(const token&, const std::vector<seen_stamp>&)>;
using model_operation =
    std::function<int(model_library&, const token&, const std::vector<seen_stamp>&)>;

const std::map<int, std::string> slots_before{{8127, model_record({{8130, "A1"}})},
                                              {8130, "hello"}};

named_bytes _pairs(const std::vector<seen_stamp>& stamps) {
    named_bytes result;
    for (const seen_stamp& stamp : stamps)
        result.emplace_back(stamp.name, stamp.data);
    return result;
}

/** The token, and what both writers and a later reader were told. */
struct meeting {
    std::map<int, std::string> slots;
    int status = 0;
    int visitor_status = 0;
    named_bytes listed;
};

struct writer {
    operation live;
    model_operation model;
};

writer _appending(const std::string& name, const std::string& data) {
    return {[=](const token& device, const std::vector<seen_stamp>&) {
                return append_stamp(device, {name, data});
            },
            [=](model_library& library, const token& device, const std::vector<seen_stamp>&) {
                return library.append(device.serial, device.type, nullptr, {name, data}).status;
            }};
}

writer _updating(const std::string& name, const std::string& data) {
    return {[=](const token&, const std::vector<seen_stamp>& stamps) {
                return update_stamp(stamps.at(0).uuid, {name, data});
            },
            [=](model_library& library, const token&, const std::vector<seen_stamp>& stamps) {
                return library.update(stamps.at(0).uuid, nullptr, {name, data}).status;
            }};
}

/** The model's meeting before the nth call; false in `has_met` when there are not so many. */
meeting _model_meeting(const token& device, const writer& first, const writer& second, int nth,
                       bool& has_met) {
    model_devices devices;
    auto attached = std::make_shared<model_device>();
    attached->label = "T";
    attached->serial = device.serial;
    attached->type = device.type;
    attached->slots = slots_before;
    devices.attached.push_back(attached);
    model_library one(devices);
    model_library other(devices);
    const auto known = one.list().stamps;
    const auto known_to_other = other.list().stamps;

    meeting met;
    devices.plan_next({nth, disturbance::visited});
    devices.visitor = [&] { met.visitor_status = second.model(other, device, known_to_other); };
    met.status = first.model(one, device, known);
    has_met = devices.has_struck();
    met.slots = attached->slots;
    met.listed = _pairs(one.list().stamps);
    return met;
}

/** The same on the token; both writers work in this process, on device handles of their own. */
void _compare_meeting(const token& device, const writer& first, const writer& second, int nth,
                      const meeting& due) {
    discard_trace();
    const std::vector<seen_stamp> known = listed_stamps(device);
    int count = 0;
    int visitor_status = 0;
    device_gate::watch([&](const device_gate::call&, device_gate::moment when) {
        if (when == device_gate::moment::after || ++count != nth) return;
        visitor_status = second.live(device, known);
    });
    EXPECT_EQ(first.live(device, known), due.status);
    device_gate::watch({});
    EXPECT_EQ(visitor_status, due.visitor_status);
    EXPECT_EQ(raw_slots(), due.slots);
    EXPECT_EQ(_pairs(listed_stamps(device)), due.listed);
}

class several_writers : public ::testing::Test {
protected:
    void SetUp() override {
        device = make_tokens(1).front();
        ASSERT_EQ(in_child([] {
                      fill_raw_slots(slots_before);
                      return std::string();
                  }).status,
                  0);
    }

    /** All meetings; each is told to `look`. */
    void meet(const writer& first, const writer& second,
              const std::function<void(const meeting&)>& look) {
        const saved_tokens saved;
        for (int nth = 1; !HasFailure(); ++nth) {
            SCOPED_TRACE("before call " + std::to_string(nth));
            bool has_met = false;
            const meeting due = _model_meeting(device, first, second, nth, has_met);
            if (!has_met) break;
            saved.restore();
            ASSERT_EQ(in_child([&] {
                          _compare_meeting(device, first, second, nth, due);
                          return std::string();
                      }).status,
                      0);
            look(due);
        }
    }

    token device;
};

/** How many meetings ended how. Both writers are told success, but in the last kind. */
struct tally {
    int nothing_lost = 0;
    int entry_lost = 0;
    int bystander_overwritten = 0;
};

void _record(const tally& count) {
    ::testing::Test::RecordProperty("nothing lost", count.nothing_lost);
    ::testing::Test::RecordProperty("entry lost", count.entry_lost);
    ::testing::Test::RecordProperty("bystander overwritten", count.bystander_overwritten);
}

TEST_F(several_writers, two_appends_at_once_can_lose_an_entry_and_overwrite_a_third_stamp) {
    tally count;
    meet(_appending("mine", "my picture"), _appending("theirs", "their picture!"),
         [&](const meeting& met) {
             EXPECT_EQ(met.visitor_status, 1);
             // The second writer took the token for empty while the first one wrote slot 8127.
             if (met.slots.at(8130) != "hello") {
                 EXPECT_EQ(met.status, 0);
                 ++count.bystander_overwritten;
             } else if (met.status == 1) {
                 ++(met.listed.size() == 3 ? count.nothing_lost : count.entry_lost);
             }
         });
    EXPECT_GT(count.nothing_lost, 0);
    EXPECT_GT(count.entry_lost, 0);
    EXPECT_GT(count.bystander_overwritten, 0);
    _record(count);
}

TEST_F(several_writers, an_append_during_an_update_can_lose_its_entry) {
    tally count;
    meet(_updating("renamed", "other bytes"), _appending("theirs", "their picture!"),
         [&](const meeting& met) {
             EXPECT_EQ(met.visitor_status, 1);
             if (met.status != 1) return;
             ++(met.listed.size() == 2 ? count.nothing_lost : count.entry_lost);
         });
    EXPECT_GT(count.nothing_lost, 0);
    EXPECT_GT(count.entry_lost, 0);
    _record(count);
}

}  // namespace
