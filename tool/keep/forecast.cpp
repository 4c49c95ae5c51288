#include "keep/forecast.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "basics/failure.h"
#include "keep/slot_length.h"

namespace vemra::tool {

namespace {

// Without its list the device is listed without a forecast.
void _look_up(session& tokens, const device_id& device) {
    try {
        look_up_lengths(tokens, device, read_mapping(tokens, device).listed_slots());
    } catch (const failure&) {
        tokens.remember_lengths(device, {});
    }
}

std::size_t _length_of(session& tokens, const named_stamp& one) {
    return static_cast<std::size_t>(length_of(tokens, one).value_or(0));
}

std::size_t _sum_of(const std::vector<std::size_t>& lengths) {
    return std::accumulate(lengths.begin(), lengths.end(), std::size_t{0});
}

}  // namespace

void look_up_lengths(session& tokens, const device_id& device, const std::vector<int>& slots) {
    if (!tokens.served().watches()) return;
    std::vector<std::size_t> lengths;
    for (const int slot : slots) {
        lengths.push_back(_length_of(tokens, {"", "", device, slot}));
    }
    tokens.remember_lengths(device, std::move(lengths));
}

void remember_lengths(session& tokens, const device_id& device, const std::vector<stamp>& stamps) {
    std::map<int, std::size_t> by_slot;
    for (const stamp& one : stamps) {
        by_slot[one.slot] = one.data.size();
    }
    std::vector<std::size_t> lengths;
    for (const auto& [slot, length] : by_slot) {
        lengths.push_back(length);
    }
    tokens.remember_lengths(device, std::move(lengths));
}

void expect_changes(session& tokens, const device_id& device,
                    const std::vector<change_sizes>& changes, verification how) {
    const std::vector<std::size_t>* lengths = tokens.remembered_lengths(device);
    if (lengths == nullptr || !tokens.served().watches()) return;
    std::size_t held = _sum_of(*lengths);
    std::size_t bytes = held;
    for (const change_sizes& change : changes) {
        held = held - std::min(held, change.old) + change.wanted;
        bytes += written_by(change) + (how == verification::changed ? change.wanted : held);
    }
    tokens.served().expect(bytes);
}

std::unique_ptr<shown_work> show_reading(session& tokens, const named_stamp& one,
                                         const std::string& label) {
    if (!tokens.served().watches()) return nullptr;
    return tokens.served().show({label, _length_of(tokens, one), {}});
}

std::unique_ptr<shown_work> show_slots(session& tokens, const device_id& device,
                                       const std::string& label,
                                       const std::atomic<std::size_t>& read) {
    if (!tokens.served().watches()) return nullptr;
    std::size_t held = 0;
    for (int slot = first_stamp_slot; slot <= last_stamp_slot; ++slot) {
        held += _length_of(tokens, {"", "", device, slot});
    }
    return tokens.served().show({label, held, [&read] { return read.load(); }});
}

std::unique_ptr<shown_work> show_listing(session& tokens, const std::vector<device_id>& devices,
                                         const std::string& label) {
    if (!tokens.served().watches()) return nullptr;
    // The first so many stamps of all devices have so many bytes.
    std::vector<std::size_t> sums{0};
    for (const device_id& device : devices) {
        if (tokens.remembered_lengths(device) == nullptr) _look_up(tokens, device);
        for (const std::size_t length : *tokens.remembered_lengths(device)) {
            sums.push_back(sums.back() + length);
        }
    }
    const std::size_t all = sums.back();
    const auto moved = [&tokens, sums = std::move(sums)] {
        return sums[std::min(tokens.listed_now(), sums.size() - 1)];
    };
    return tokens.served().show({label, all, moved});
}

}  // namespace vemra::tool
