#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "model/model_library.h"
#include "model/plan.h"
#include "support/expected_trace.h"
#include "support/fake_device_library.h"
#include "vemra_app_stamp.h"

/**
 * Uses the library step by step beside the model, over the fake device library, and compares: what
 * is returned and printed, all slots of all devices, pulled out or not, the library's handles, and
 * every record that is still held. Each step tells how the two disagree, and nothing when they
 * agree.
 */
class random_use {
public:
    /** Does the work; tells what it printed, normalised, or nothing when it does not listen. */
    using listener = std::function<std::optional<text_lines>(const std::function<void()>&)>;

    /**
     * Uuids stay known as long as the process lives, also those that a fault made without serial
     * number: both that and the type tell the devices of one use from those of another.
     */
    random_use(const std::vector<unsigned char>& devices, int use, listener listen);
    /** Frees what end() has not freed. */
    ~random_use();
    random_use(const random_use&) = delete;
    random_use& operator=(const random_use&) = delete;

    std::string perform(const step& one);
    /** Frees all records and sets, after a last look at each. */
    std::string end();

private:
    struct held_set {
        VEMRA_APP_STAMP_SET_HANDLE handle;
        std::vector<seen_stamp> stamps;
    };
    struct held_record {
        VEMRA_APP_STAMP_RECORD* record;
        seen_stamp stamp;
    };

    std::string carry_out(const step& one);
    std::string list(const step& one);
    std::string take(const step& one);
    std::string read(const held_record& held);
    std::string ask_owner(const step& one);
    std::string append(const step& one);
    std::string update(const step& one);
    std::string remove(const step& one);
    std::string free_stamp(const step& one);
    std::string free_set(const step& one);
    std::string free_memory(void* memory);
    std::string unplug(const step& one);
    std::string replug(const step& one);
    std::string disturb(const planned_disturbance& plan);

    /** Calls the library and compares all that can be seen of it. */
    std::string compare(const seen_call& wanted, const std::function<int()>& call);
    std::string compare_call(const seen_call& wanted, const std::function<int()>& call);
    std::string compare_devices() const;
    std::string compare_records() const;
    std::string compare_handles() const;
    int last_status() const;

    std::string uuid_for(const step& one) const;
    const model_device& device_of(const step& one) const;
    const model_device& device_named(const std::string& label) const;

    fake_device_library fake_;
    model_devices devices_;
    model_library model_{devices_};
    listener listen_;
    /** The devices by label, plugged in or not. */
    std::vector<std::string> labels_;
    std::vector<held_set> sets_;
    std::vector<held_record> records_;
};
