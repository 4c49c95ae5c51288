#include "store/slot_table.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "store/failure.h"
#include "store/slot_sum.h"

namespace vemra::softtoken {

namespace {

// The columns of a whole row.
constexpr int id_column = 0;
constexpr int attributes_column = 1;
constexpr int length_column = 2;
constexpr int bytes_column = 3;
constexpr int sum_column = 4;

// A damaged row may hold any number.
int _sound_length(const sqlite_query& query, int column, const sqlite_connection& connection) {
    std::int64_t length = query.integer(column);
    if (length < 0 || length > INT_MAX) {
        throw failure(error_code::damaged, connection.path() + ": bad slot length");
    }
    return static_cast<int>(length);
}

std::string _bytes(std::int64_t number) {
    return std::to_string(number) + " bytes";
}

// Nothing for a slot that was made and not yet written.
std::optional<std::string_view> _bytes_of(const sqlite_query& row) {
    if (row.is_null(bytes_column)) return std::nullopt;
    return row.bytes(bytes_column);
}

bool _has_right_sum(const sqlite_query& row) {
    return !row.is_null(sum_column) &&
           row.integer(sum_column) == slot_sum(row.integer(id_column), row.bytes(attributes_column),
                                               row.integer(length_column), _bytes_of(row));
}

}  // namespace

std::optional<int> slot_table::length(int id) {
    sqlite_query query(length_);
    if (!query.bind(1, id).step()) return std::nullopt;
    return _sound_length(query, 0, connection_);
}

int slot_table::existing_length(int id) {
    std::optional<int> present = length(id);
    if (!present) throw failure(error_code::no_such_slot);
    return *present;
}

bool slot_table::is_written(int id) {
    sqlite_query query(is_written_);
    return query.bind(1, id).step();
}

// What is wrong with a row; nothing for a sound one.
std::string slot_table::damage_of(const sqlite_query& row) {
    std::int64_t length = row.integer(length_column);
    std::optional<std::string_view> bytes = _bytes_of(row);
    if (row.integer(id_column) < 0 || row.integer(id_column) > INT_MAX) return "bad number";
    if (!row.is_integer(length_column) || length < 0 || length > INT_MAX ||
        (bytes && bytes->size() != static_cast<std::size_t>(length))) {
        return "length " + row.text(length_column) + ", bytes " +
               std::to_string(bytes ? bytes->size() : 0);
    }
    if (row.bytes(attributes_column).size() != attribute_block_size) return "bad attribute block";
    bool has_sum =
        row.columns() > sum_column || format_version(connection_) != version_without_sums;
    if (has_sum && !_has_right_sum(row)) return "not what was stored there (wrong sum)";
    return {};
}

int slot_table::read(int id, unsigned char* buffer, int buffer_size) {
    sqlite_query row(row_);
    if (!row.bind(1, id).step()) throw failure(error_code::no_such_slot);
    int length = _sound_length(row, length_column, connection_);
    if (length > buffer_size) throw failure(error_code::buffer_too_small);
    if (std::string damage = damage_of(row); !damage.empty()) {
        throw failure(error_code::damaged,
                      connection_.path() + ": slot " + std::to_string(id) + ": " + damage);
    }
    if (length == 0) return 0;
    if (std::optional<std::string_view> bytes = _bytes_of(row)) {
        std::memcpy(buffer, bytes->data(), bytes->size());
    } else {
        std::memset(buffer, 0, static_cast<std::size_t>(length));
    }
    return length;
}

std::optional<stored_slot> slot_table::stored(int id) {
    sqlite_query row(row_);
    if (!row.bind(1, id).step()) return std::nullopt;
    stored_slot found{{}, damage_of(row)};
    if (std::optional<std::string_view> bytes = _bytes_of(row)) {
        found.bytes = *bytes;
    } else if (found.damage.empty()) {
        found.bytes.resize(static_cast<std::size_t>(row.integer(length_column)));
    }
    return found;
}

void slot_table::require_room(int id, int size, const personality& limits) {
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

void slot_table::require_creatable(int id, int size, const personality& limits) {
    if (length(id).value_or(0) != 0) throw failure(error_code::slot_exists);
    require_room(id, size, limits);
}

void slot_table::require_length(int id, int length) {
    if (existing_length(id) != length) throw failure(error_code::wrong_length);
}

void slot_table::create(int id, const unsigned char* attributes, int size,
                        const personality& limits) {
    require_creatable(id, size, limits);
    // No bytes yet: the slot reads as zero bytes until it is written.
    std::string_view block(reinterpret_cast<const char*>(attributes), attribute_block_size);
    sqlite_query(create_)
        .bind(1, id)
        .bind_bytes(2, block.data(), block.size())
        .bind(3, size)
        .bind(4, slot_sum(id, block, size, std::nullopt))
        .run();
}

void slot_table::write(int id, const void* data, int length) {
    require_length(id, length);
    std::string_view bytes(static_cast<const char*>(data), static_cast<std::size_t>(length));
    sqlite_query(write_)
        .bind(1, id)
        .bind_bytes(2, bytes.data(), bytes.size())
        .bind(3, slot_sum(id, attributes(id), length, bytes))
        .run();
}

void slot_table::remove(int id) {
    sqlite_query(remove_).bind(1, id).run();
    if (sqlite3_changes(connection_.raw()) == 0) throw failure(error_code::no_such_slot);
}

// Empty when there is no such slot.
std::string slot_table::attributes(int id) {
    sqlite_query query(attributes_);
    return query.bind(1, id).step() ? query.text(0) : std::string();
}

void slot_table::replace(int id, const std::string& bytes, const personality& limits) {
    std::string attributes = this->attributes(id);
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
    bool sums = format_version(connection_) != version_without_sums;
    sqlite_statement statement(
        connection_, sums
                         ? "SELECT id, attributes, length, bytes IS NOT NULL FROM slot ORDER BY id"
                         : "SELECT id, attributes, length, data IS NOT NULL FROM slot ORDER BY id");
    sqlite_query query(statement);
    std::vector<slot_summary> slots;
    while (query.step()) {
        slots.push_back({query.small(0), query.text(1), query.small(2), query.integer(3) != 0});
    }
    return slots;
}

std::vector<damaged_slot> slot_table::damaged() {
    sqlite_statement statement(connection_, "SELECT * FROM slot ORDER BY id");
    sqlite_query row(statement);
    std::vector<damaged_slot> slots;
    while (row.step()) {
        std::string damage = damage_of(row);
        if (!damage.empty()) slots.push_back({row.integer(id_column), damage});
    }
    return slots;
}

}  // namespace vemra::softtoken
