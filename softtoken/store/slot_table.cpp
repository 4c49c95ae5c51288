#include "store/slot_table.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "store/failure.h"

namespace vemra::softtoken {

namespace {

// A damaged row may hold any number.
int _sound_length(const sqlite_query& query, const sqlite_connection& connection) {
    std::int64_t length = query.integer(0);
    if (length < 0 || length > INT_MAX) {
        throw failure(error_code::damaged, connection.path() + ": bad slot length");
    }
    return static_cast<int>(length);
}

std::string _bytes(std::int64_t number) {
    return std::to_string(number) + " bytes";
}

}  // namespace

std::optional<int> slot_table::length(int id) {
    sqlite_query query(length_);
    if (!query.bind(1, id).step()) return std::nullopt;
    return _sound_length(query, connection_);
}

int slot_table::existing_length(int id) {
    std::optional<int> present = length(id);
    if (!present) throw failure(error_code::no_such_slot);
    return *present;
}

int slot_table::read(int id, unsigned char* buffer, int buffer_size) {
    sqlite_query query(read_);
    if (!query.bind(1, id).step()) throw failure(error_code::no_such_slot);
    int length = _sound_length(query, connection_);
    if (length > buffer_size) throw failure(error_code::buffer_too_small);
    if (length == 0) return 0;
    auto size = static_cast<std::size_t>(length);
    if (query.is_null(1)) {
        std::memset(buffer, 0, size);
        return length;
    }
    std::string_view bytes = query.bytes(1);
    if (bytes.size() != size) {
        throw failure(error_code::damaged, connection_.path() + ": slot bytes missing");
    }
    std::memcpy(buffer, bytes.data(), size);
    return length;
}

void slot_table::require_room(int id, int size, const token_limits& limits) {
    if (size > limits.slot_size) {
        throw failure(error_code::slot_too_large, "a slot of " + _bytes(size) +
                                                      ": the token's slots have at most " +
                                                      _bytes(limits.slot_size));
    }
    sqlite_query query(room_);
    query.bind(1, id).step();
    if (query.integer(0) >= limits.slots) {
        throw failure(
            error_code::too_many_slots,
            "the token has all of its " + std::to_string(limits.slots) + " slots already");
    }
    if (query.integer(1) > limits.capacity - size) {
        throw failure(error_code::token_full, "a slot of " + _bytes(size) + ": " +
                                                  _bytes(query.integer(1)) + " of " +
                                                  _bytes(limits.capacity) + " are taken");
    }
}

void slot_table::create(int id, const unsigned char* attributes, int size,
                        const token_limits& limits) {
    if (length(id).value_or(0) != 0) throw failure(error_code::slot_exists);
    require_room(id, size, limits);
    // No data yet: the slot reads as zero bytes until it is written.
    sqlite_query(create_)
        .bind(1, id)
        .bind_bytes(2, attributes, attribute_block_size)
        .bind(3, size)
        .run();
}

void slot_table::write(int id, const void* data, int length) {
    if (existing_length(id) != length) throw failure(error_code::wrong_length);
    sqlite_query(write_).bind(1, id).bind_bytes(2, data, static_cast<std::size_t>(length)).run();
}

void slot_table::remove(int id) {
    existing_length(id);
    sqlite_query(remove_).bind(1, id).run();
}

void slot_table::replace(int id, const std::string& bytes, const token_limits& limits) {
    std::string attributes;
    {
        sqlite_query query(attributes_);
        if (query.bind(1, id).step()) attributes = query.text(0);
    }
    if (attributes.size() != attribute_block_size) attributes = usual_attributes;
    sqlite_query(remove_).bind(1, id).run();
    int size = static_cast<int>(bytes.size());
    create(id, reinterpret_cast<const unsigned char*>(attributes.data()), size, limits);
    write(id, bytes.data(), size);
}

std::string slot_table::torn(int id, const void* data, int arriving) {
    int present = existing_length(id);
    std::string bytes(static_cast<std::size_t>(present), '\0');
    read(id, reinterpret_cast<unsigned char*>(bytes.data()), present);
    std::memcpy(bytes.data(), data, static_cast<std::size_t>(std::min(arriving, present)));
    return bytes;
}

std::vector<slot_summary> slot_table::list() {
    sqlite_statement statement(
        connection_, "SELECT id, attributes, length, data IS NOT NULL FROM slot ORDER BY id");
    sqlite_query query(statement);
    std::vector<slot_summary> slots;
    while (query.step()) {
        slots.push_back({query.small(0), query.text(1), query.small(2), query.integer(3) != 0});
    }
    return slots;
}

}  // namespace vemra::softtoken
