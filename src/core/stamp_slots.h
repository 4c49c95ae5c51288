#pragma once

#include <map>
#include <optional>
#include <string>

/*
 * Where a device keeps stamps, for the library and for whoever reads slots beside it. This header
 * needs nothing else of the library.
 */

namespace vemra::app::stamp {

/** The slot of the mapping. */
constexpr int stamp_info_slot = 8127;

/* The slots of stamps, both included. */
constexpr int first_stamp_slot = 8130;
constexpr int last_stamp_slot = 8134;

constexpr bool is_stamp_slot(int slot) {
    return slot >= first_stamp_slot && slot <= last_stamp_slot;
}

/** Slots ascend as the unsigned numbers that the mapping's bytes write. */
struct slot_less {
    bool operator()(int left, int right) const {
        return static_cast<unsigned int>(left) < static_cast<unsigned int>(right);
    }
};

/**
 * Which slots of a device hold stamps, and under which names. Ascending by slot: choosing a free
 * slot depends on that.
 */
using stamp_info_mapping = std::map<int, std::string, slot_less>;

inline bool is_listed(const stamp_info_mapping& mapping, int slot) {
    // Kept(walk-end): a greater slot ends the walk. It finds the slot because the mapping ascends.
    for (const auto& entry : mapping) {
        if (entry.first == slot) return true;
        if (slot_less()(slot, entry.first)) return false;
    }
    return false;
}

/** The lowest slot of stamps without an entry, which the next new stamp takes; none when full. */
inline std::optional<int> lowest_free_slot(const stamp_info_mapping& mapping) {
    for (int slot = first_stamp_slot; slot <= last_stamp_slot; ++slot) {
        if (!is_listed(mapping, slot)) return slot;
    }
    return std::nullopt;
}

}  // namespace vemra::app::stamp
