#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/plan.h"
#include "model/stamp_model.h"
#include "support/fake_device_library.h"
#include "vemra_app_stamp.h"

/** A fault of the device library. */
struct step_fault {
    std::string function;  // Empty: any.
    int nth;
    fault what;
};

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

    /** Uuids stay known as long as the process lives: `serials` tells one use from another. */
    random_use(const std::vector<unsigned char>& devices, const std::string& serials,
               listener listen);
    /** Frees what end() has not freed. */
    ~random_use();
    random_use(const random_use&) = delete;
    random_use& operator=(const random_use&) = delete;

    std::string perform(const step& one);
    /**
     * From here to end_fault() or to the next unplugging the steps are made under a fault. Where it
     * strikes, the status must be a documented one and the last status, no slot but the named one
     * and the mapping may have changed, these hold what a failure may leave, and no handle or
     * buffer is lost. A device that claims to have done what it has not may also leave what a call
     * makes of a slot that reads as empty, and the status may be 1 all the same.
     */
    void begin_fault(const step_fault& scheduled);
    /** Afterwards listing works again. */
    std::string end_fault();
    /** Frees all records and sets, after a last look at each. */
    std::string end();

private:
    struct held_set {
        VEMRA_APP_STAMP_SET_HANDLE handle;
        std::vector<model_stamp> stamps;
    };
    struct held_record {
        VEMRA_APP_STAMP_RECORD* record;
        model_stamp stamp;
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
    std::string unplug(const step& one);
    std::string replug(const step& one);

    /** Calls the library and compares status, last status, lines, slots and handles. */
    std::string compare(const expected& wanted, const std::function<int()>& call);
    std::string compare_call(const expected& wanted, const std::function<int()>& call);
    std::string compare_devices() const;
    std::string compare_records() const;
    std::string compare_handles() const;
    std::string judge_struck_call(const expected& wanted, std::optional<int> status) const;
    std::string judge_slot(unsigned int device, int id, const std::optional<std::string>& is,
                           bool is_done, bool is_foreseen) const;
    std::vector<model_change> possible_changes(unsigned int device, int id) const;
    bool may_lie_about_slots() const;
    void adopt_devices();
    void schedule_fault();

    void add_to_fake(unsigned int device);
    std::string uuid_for(const step& one) const;
    unsigned int device_of(const step& one) const;

    fake_device_library fake_;
    stamp_model model_;
    listener listen_;
    std::vector<held_set> sets_;
    std::vector<held_record> records_;
    /** Device objects alive that the model does not know of: a struck list may have made some. */
    int extra_objects_ = 0;
    /** Not between a fault that strikes and the list that follows it. */
    bool are_objects_counted_ = true;

    std::optional<step_fault> fault_;
    bool has_struck_ = false;
    /* As they were before the step, or the call, that the fault may strike. */
    stamp_model before_;
    int live_before_ = 0;
    /** What each device's slots have held: a restore may bring back an older failure's backup. */
    std::vector<std::set<std::string>> contents_;
};
