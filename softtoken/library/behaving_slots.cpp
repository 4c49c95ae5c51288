#include "library/behaving_slots.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "store/failure.h"

namespace vemra::softtoken {

namespace {

void _require(bool claim, error_code otherwise) {
    if (!claim) throw failure(otherwise);
}

std::string _digits(const unsigned char* attributes) {
    std::string digits;
    for (std::size_t place = 0; place < attribute_block_size; ++place) {
        for (int shift : {4, 0})
            digits += "0123456789abcdef"[attributes[place] >> shift & 15];
    }
    return digits;
}

std::string _other_bytes(const void* data, int length) {
    std::string bytes(static_cast<const char*>(data), static_cast<std::size_t>(length));
    for (char& byte : bytes)
        byte = static_cast<char>(~byte);
    return bytes;
}

}  // namespace

bool behaving_slots::is_told_as_empty(int id) {
    return rules_.absent == absent_slot::empty && !open_.slots.length(id);
}

int behaving_slots::rounded(int length) const {
    const std::int64_t blocks = (length + rules_.length_block - 1) / rules_.length_block;
    return static_cast<int>(std::min<std::int64_t>(blocks * rules_.length_block, INT_MAX));
}

int behaving_slots::told_length(int id) {
    return is_told_as_empty(id) ? 0 : rounded(open_.slots.existing_length(id));
}

int behaving_slots::read(int id, unsigned char* buffer, int buffer_size) {
    if (is_told_as_empty(id)) return 0;
    const int length = open_.slots.existing_length(id);
    const int told = rounded(length);
    if (rules_.buffer == read_buffer::fitting) {
        _require(buffer_size <= told, error_code::bad_argument);
    }
    const bool is_cut = rules_.read_most > 0 && rules_.read_most < told;
    if (!is_cut && told == length) return open_.slots.read(id, buffer, buffer_size);
    const int given = is_cut ? static_cast<int>(rules_.read_most) : told;
    _require(buffer_size >= given, error_code::buffer_too_small);
    std::string bytes(static_cast<std::size_t>(told), static_cast<char>(rules_.length_padding));
    open_.slots.read(id, reinterpret_cast<unsigned char*>(bytes.data()), length);
    std::memcpy(buffer, bytes.data(), static_cast<std::size_t>(given));
    return given;
}

// The room of deleted slots that is not back yet is nobody's.
personality behaving_slots::limits() {
    personality limits = rules_;
    if (rules_.room_of_deleted == returned_room::at_once) return limits;
    const unreturned_room kept = open_.history.unreturned(open_.plugged.nanoseconds());
    limits.capacity -= kept.bytes;
    limits.slots -= kept.slots;
    return limits;
}

void behaving_slots::require_creatable(int id, const unsigned char* attributes, int size) {
    _require(id >= rules_.lowest_slot && id <= rules_.highest_slot, error_code::bad_argument);
    _require(size > 0 || rules_.create_empty == permission::allowed, error_code::bad_argument);
    const std::string block = _digits(attributes);
    _require(rules_.attributes_refused.find(block) == std::string::npos, error_code::bad_argument);
    _require(rules_.attributes_needed.empty() || rules_.attributes_needed == block,
             error_code::bad_argument);
    if (rules_.remake_empty == permission::refused) {
        _require(!open_.slots.length(id), error_code::slot_exists);
    }
    open_.slots.require_creatable(id, size, limits());
}

void behaving_slots::require_writable(int id, int length) {
    if (rules_.written_length == write_length::exact) {
        open_.slots.require_length(id, length);
    } else {
        _require(length <= open_.slots.existing_length(id), error_code::wrong_length);
    }
    if (rules_.rewrite == permission::refused) {
        _require(!open_.slots.is_written(id), error_code::slot_exists);
    }
    if (rules_.slot_writes > 0) {
        _require(open_.history.writes(id) < rules_.slot_writes, error_code::storage_failed);
    }
}

void behaving_slots::create(int id, const unsigned char* attributes, int size) {
    require_creatable(id, attributes, size);
    open_.slots.create(id, attributes, size, limits());
}

void behaving_slots::write(int id, const void* data, int length, int arriving) {
    require_writable(id, length);
    if (rules_.slot_writes > 0) open_.history.count_write(id);
    if (rules_.lies == lie::writes_nothing) return;
    std::string other;
    if (rules_.lies == lie::writes_other_bytes) {
        other = _other_bytes(data, length);
        data = other.data();
    }
    const int present = open_.slots.existing_length(id);
    std::int64_t taken = arriving < 0 ? length : std::min(arriving, length);
    if (rules_.write_most > 0) taken = std::min(taken, rules_.write_most);
    if (taken == present) return open_.slots.write(id, data, length);
    const std::string torn = open_.slots.torn(id, data, static_cast<int>(taken));
    open_.slots.write(id, torn.data(), present);
}

void behaving_slots::remove(int id) {
    // A slot whose length is damaged can still be deleted.
    if (rules_.lies == lie::deletes_nothing) return require_removable(id);
    if (rules_.room_of_deleted == returned_room::after_replug) {
        open_.history.keep_room(open_.plugged.nanoseconds(), open_.slots.existing_length(id));
    }
    open_.slots.remove(id);
}

}  // namespace vemra::softtoken
