#include "sweep/faults/bystanders.h"

#include <algorithm>
#include <optional>

#include "model/reference_mapping.h"

namespace {

using device_slots = std::map<int, std::string>;

constexpr int first_slot = 8130;
constexpr int last_slot = 8134;
constexpr std::size_t own_device = 1;
const char* const labels[] = {"B", "A"};

// Entries as they are written, such as "A1&8130", by slot; none in what is no record throughout.
std::map<int, std::string> _entries(const device_slots& slots) {
    std::map<int, std::string> entries;
    const auto found = slots.find(mapping_slot);
    if (found == slots.end()) return entries;
    const std::string& record = found->second;
    const std::string header =
        reference_mapping::little_endian(static_cast<unsigned int>(record.size())) + '\x01';
    if (record.compare(0, header.size(), header) != 0) return entries;
    for (std::size_t from = header.size(); from < record.size();) {
        const std::size_t end = std::min(record.find("||", from), record.size());
        const std::string entry = record.substr(from, end - from);
        entries[std::stoi(entry.substr(entry.find('&') + 1))] = entry;
        from = end + 2;
    }
    return entries;
}

int _lowest_free_slot(const device_slots& slots) {
    const auto entries = _entries(slots);
    int slot = first_slot;
    while (entries.count(slot) != 0)
        ++slot;
    return slot <= last_slot ? slot : no_slot;
}

std::optional<std::string> _found(const std::map<int, std::string>& by_slot, int slot) {
    const auto found = by_slot.find(slot);
    return found == by_slot.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

bystanders::bystanders(const stage& on, int own_slot)
    : on_(on), before_(on.fake_slots()), own_slot_(own_slot) {
    if (own_slot_ == free_slot) own_slot_ = _lowest_free_slot(before_[own_device]);
}

bool bystanders::is_own(std::size_t device, int slot) const {
    return device == own_device && slot == own_slot_;
}

std::set<std::string> bystanders::lost_bytes() const {
    std::set<std::string> lost;
    const std::vector<device_slots> after = on_.fake_slots();
    for (std::size_t i = 0; i < before_.size(); ++i) {
        for (int slot = stage::lowest_watched_slot; slot <= stage::highest_watched_slot; ++slot) {
            if (slot == mapping_slot || is_own(i, slot)) continue;
            if (_found(before_[i], slot) != _found(after[i], slot))
                lost.insert(std::string("bytes of ") + labels[i] + " " + std::to_string(slot));
        }
    }
    return lost;
}

std::set<std::string> bystanders::losses() const {
    std::set<std::string> lost = lost_bytes();
    const std::vector<device_slots> after = on_.fake_slots();
    for (std::size_t i = 0; i < before_.size(); ++i) {
        const auto left = _entries(after[i]);
        for (const auto& [slot, entry] : _entries(before_[i])) {
            if (!is_own(i, slot) && _found(left, slot) != entry)
                lost.insert(std::string("entries of ") + labels[i]);
        }
    }
    return lost;
}

std::set<std::string> bystanders::losses_untold_by(const seen_call& seen) const {
    return seen.status == 1 ? losses() : lost_bytes();
}
