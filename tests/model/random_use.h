#ifndef MODEL_RANDOM_USE_H
#define MODEL_RANDOM_USE_H

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

/** A fault of the device library during one step. */
struct step_fault {
    std::string function;  // Empty: any.
    int nth;
    fault what;
};

/**
 * Uses the library step by step beside the model, over the fake device library, and compares. Each
 * step tells how the two disagree, and nothing when they agree.
 */
class random_use {
public:
    /** Does the work; tells what it printed, normalised, or nothing when it does not listen. */
    using listener = std::function<std::optional<text_lines>(const std::function<void()>&)>;

    /** Uuids stay known as long as the process lives: `serials` tells one use from another. */
    random_use(const std::vector<unsigned char>& devices, const std::string& serials,
               listener listen);
    /** Frees all sets and records. */
    ~random_use();
    random_use(const random_use&) = delete;
    random_use& operator=(const random_use&) = delete;

    std::string perform(const step& one);
    /**
     * The same with a fault in it. When it strikes, the status must be a documented one, no slot
     * but the named one and the mapping may have changed, these hold what a failure may leave, no
     * handle or buffer is lost, and listing works afterwards.
     */
    std::string perform_under_fault(const step& one, const step_fault& scheduled);

private:
    struct held_set {
        VEMRA_APP_STAMP_SET_HANDLE handle;
        std::vector<model_stamp> stamps;
    };
    struct held_record {
        VEMRA_APP_STAMP_RECORD* record;
        model_stamp stamp;
    };

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
    std::string compare_handles() const;
    std::string judge_struck_call(const expected& wanted, std::optional<int> status) const;
    std::string judge_slot(unsigned int device, int id, const std::optional<std::string>& is,
                           bool is_done, bool is_foreseen) const;
    void adopt_devices();

    void add_to_fake(unsigned int device);
    std::map<int, std::string> slots_in_fake(unsigned int device) const;
    std::string uuid_for(const step& one) const;
    unsigned int device_of(const step& one) const;

    fake_device_library fake_;
    stamp_model model_;
    listener listen_;
    std::vector<held_set> sets_;
    std::vector<held_record> records_;
    /** Device objects alive that the model does not know of: a struck list may have made some. */
    int extra_objects_ = 0;
    bool are_objects_counted_ = true;

    bool is_under_fault_ = false;
    bool has_struck_ = false;
    stamp_model before_;
    /** What each device's slots have held: a restore may bring back an older failure's backup. */
    std::vector<std::set<std::string>> contents_;
};

#endif
