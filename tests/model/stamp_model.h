#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/plan.h"
#include "model/reference_mapping.h"
#include "support/expected_trace.h"

/** A device as it must be at any moment. */
struct model_device {
    std::string label;
    std::string serial;
    int type;
    bool needs_login;
    std::map<int, std::string> slots;

    bool is_plugged = true;
    /** How often it was plugged in anew: handles of an earlier time are dead. */
    int incarnation = 0;
    bool is_logged_in = false;
    int retries = 5;
};

/** What a known uuid stands for: what it stood for when it was first listed. */
struct model_place {
    unsigned int device;
    int incarnation;
    int slot;
    /** Which of the device objects that enumerations make it keeps alive. */
    unsigned long object;
};

/** A stamp as it was when it was listed. */
struct model_stamp {
    std::string uuid;
    std::string name;
    std::string bytes;
};

/** A write or removal, whether the device lets it happen or not. */
struct model_change {
    unsigned int device;
    int slot;
    std::string bytes;
    /** The mapping to write behind it. */
    std::string record;
};

struct list_filter {
    int type = -1;
    std::optional<std::string> serial;
    int device_type = -1;
};

struct stamp_to_store {
    int type;
    std::string name;
    std::string bytes;
};

/**
 * The library and its devices, in memory and straight-line: what each call must return, print and
 * leave on the devices while nothing fails but what a device refuses by itself.
 */
class stamp_model {
public:
    /** A plugged device; tells its number. */
    unsigned int add_device(const model_device& device);
    void unplug(unsigned int device);
    /** The device comes back with its slots and a full retry counter. */
    void replug(unsigned int device);

    expected list(const list_filter& filter, std::optional<std::vector<model_stamp>>& found);
    expected append(const std::string& serial, int type, const char* password,
                    const stamp_to_store& stamp);
    expected update(const std::string& uuid, const char* password, const stamp_to_store& stamp);
    expected remove(const std::string& uuid, const char* password);
    /** The owner of a stamp that was taken out; its device is told when the status is 1. */
    expected ask_owner(const std::string& uuid, std::optional<model_device>& owner);

    std::vector<model_device> devices;
    std::map<std::string, model_place> known;
    /** What the last write or removal was about, if it came so far. */
    std::optional<model_change> change;
    /** What it becomes where a device claims to have read a slot and gives nothing. */
    std::vector<model_change> misread_changes;
    /** Device objects that known uuids keep alive. */
    std::set<unsigned long> live_objects() const;

    /** The digest that the fake device library makes of a place. */
    static std::string uuid_of(const model_device& device, int slot);

private:
    void forget_change();
    bool is_reachable(const model_place& place) const;
    void list_device(unsigned int number, expected_trace& trace, std::vector<model_stamp>& found);

    std::vector<unsigned int> order_;
    unsigned long objects_made_ = 0;
};
