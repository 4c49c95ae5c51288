#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "sweep/faults/stage.h"

/**
 * What a call on device A must leave alone: the bytes of every slot of every device but 8127 and
 * the call's own slot, and every entry of the records but that of the own slot. The devices alone
 * tell it; the model has no say.
 */
class bystanders {
public:
    /** Before the call. */
    bystanders(const stage& on, int own_slot);

    /** Slots that no longer are what they were, such as "bytes of A 8130". */
    std::set<std::string> lost_bytes() const;
    /** These, and records that miss an entry they had, such as "entries of A". */
    std::set<std::string> losses() const;
    /** What is lost though the call told success; bytes are nobody's to lose at all. */
    std::set<std::string> losses_untold_by(const seen_call& seen) const;

private:
    bool is_own(std::size_t device, int slot) const;

    const stage& on_;
    std::vector<std::map<int, std::string>> before_;
    int own_slot_;
};
