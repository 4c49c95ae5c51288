#pragma once

#include <functional>
#include <string>
#include <vector>

#include "model/model_library.h"
#include "support/fake_device_library.h"
#include "sweep/live/live_library.h"

struct scenario;

/**
 * The same devices twice: in the fake, for the shared object, and in the model. Serial numbers
 * and types are new for every stage, because the process remembers uuids for ever, also those that
 * a device failure made without the one or the other.
 *
 * Device B stands first, has a key pair with a certificate and one stamp, and is a bystander. The
 * operations are meant for device A.
 */
class stage {
public:
    /** Without the live side the shared object is never called. */
    enum class sides { both, model };

    stage();
    /** With serial numbers of one's choice, counted upwards. */
    stage(int number, sides which);

    /** Slots of A, by number. */
    void fill(const std::map<int, std::string>& slots);
    /** Puts stamps with the names A1, A2, .. into slots of A, and writes their mapping. */
    void store_stamps(const std::map<unsigned int, std::string>& stamps);
    /** Takes a slot of A away. */
    void lose_slot(int slot);
    void require_login();
    /** Lists once on both sides and keeps the uuids of A's stamps. */
    void know_all();
    /** Lists once on both sides and lets the caller hold the set and A's only stamp. */
    void hold();
    /** Plans the same disturbance for both sides and forgets the calls. */
    void disturb(const planned_disturbance& plan);
    bool has_struck() const { return fake.fault_fired(); }
    /** Lets both sides do the same and compares all that can be seen. */
    seen_call compare(const std::function<seen_call(stamp_library&)>& act);

    void expect_same(const seen_call& seen, const seen_call& due);
    /** Lists, does the same once more and lists, undisturbed, from what was left; harms nobody. */
    void go_on(const scenario& one);
    static constexpr int lowest_watched_slot = 8126;
    static constexpr int highest_watched_slot = 8139;
    /** Slots of B and of A in the fake, by number. */
    std::vector<std::map<int, std::string>> fake_slots() const;
    /** Compares what the library still owns, once nothing of what it gave out is left. */
    void compare_memory();

    const model_device& device() const { return *devices.attached[1]; }
    const std::string& uuid(std::size_t index) const { return uuids_.at(index); }

    fake_device_library fake;
    model_devices devices;
    model_library model{devices};
    live_library live;

private:
    void add_device(const std::string& label, int number, int certificates);
    void fill_device(std::size_t index, int slot, const std::string& bytes);

    std::vector<std::string> uuids_;
    bool is_live_;
    long blocks_before_;
};

constexpr int no_slot = 0;
/** The lowest one without an entry in the record of A. */
constexpr int free_slot = -1;

/** One operation on devices in one state. */
struct scenario {
    std::string name;
    std::function<void(stage&)> arrange;
    std::function<seen_call(stamp_library&, const stage&)> act;
    /** The slot of A that the operation is meant for. */
    int own_slot = no_slot;
};

std::ostream& operator<<(std::ostream& out, const scenario& one);

/** All operations that reach a device, in every state that matters to them. */
const std::vector<scenario>& all_scenarios();
const scenario& scenario_named(const std::string& name);
/** All functions that reach none. */
const std::vector<scenario>& plain_scenarios();
