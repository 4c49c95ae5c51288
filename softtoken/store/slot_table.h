/** The numbered data slots of a token. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/token_database.h"

namespace vemra::softtoken {

/* The bytes that come with each slot and mean nothing here. */
constexpr std::size_t attribute_block_size = 4;
constexpr const char* usual_attributes = "\x04\x01\x03\x07";

/* A slot without its bytes; written is false while it was only created. */
struct slot_summary {
    int id = 0;
    std::string attributes;
    int length = 0;
    bool written = false;
};

/* A slot that is not as it was stored. */
struct damaged_slot {
    std::int64_t id = 0;
    std::string what;
};

/* What lies in a slot, sound or not. */
struct stored_slot {
    std::string bytes;
    std::string damage; /* what is wrong with it; empty for a sound one */
};

/*
 * The caller holds a transaction around each change. With each slot its sum is stored; a slot whose
 * sum is wrong can be deleted, made and written like any other, but not read. Tokens of format 1
 * have no sums yet.
 */
class slot_table {
public:
    explicit slot_table(sqlite_connection& connection) : connection_(connection) {}

    /* Nothing when there is no such slot. */
    std::optional<int> length(int id);
    /* Throws no_such_slot. */
    int existing_length(int id);
    /* Whether the slot is there and has got bytes since it was made. */
    bool is_written(int id);
    /*
     * Copies the slot into the buffer and returns its length. Throws no_such_slot,
     * buffer_too_small, or damaged for a wrong sum.
     */
    int read(int id, unsigned char* buffer, int buffer_size);
    /* Nothing when there is no such slot. Throws for no damage of the slot's. */
    std::optional<stored_slot> stored(int id);
    /* Throw what create and write would throw; nothing is changed. */
    void require_creatable(int id, int size, const personality& limits);
    void require_length(int id, int length);
    /*
     * Makes a slot of zero bytes. A slot of length 0 may be made anew with another size. Throws
     * slot_exists, slot_too_large, too_many_slots or token_full.
     */
    void create(int id, const unsigned char* attributes, int size, const personality& limits);
    /* Throws no_such_slot, and wrong_length unless the length is the slot's. */
    void write(int id, const void* data, int length);
    /* Throws no_such_slot. */
    void remove(int id);
    /* Makes the bytes the slot, whatever it held; its attribute block stays. */
    void replace(int id, const std::string& bytes, const personality& limits);
    /* What the slot holds when only the first bytes of a write arrive. */
    std::string torn(int id, const void* data, int arriving);

    /* In ascending order. */
    std::vector<slot_summary> list();
    /* Reads all slots. */
    std::vector<damaged_slot> damaged();

private:
    std::string damage_of(const sqlite_query& row);
    std::string attributes(int id);
    void require_room(int id, int size, const personality& limits);

    sqlite_connection& connection_;
    sqlite_statement length_{connection_, "SELECT length FROM slot WHERE id = ?1"};
    sqlite_statement is_written_{connection_,
                                 "SELECT 1 FROM slot WHERE id = ?1 AND bytes IS NOT NULL"};
    sqlite_statement row_{connection_, "SELECT * FROM slot WHERE id = ?1"};
    // A length that damage made great must leave room for others.
    sqlite_statement room_{connection_,
                           "SELECT count(*), coalesce(sum(coalesce(length(bytes),"
                           " min(max(length, 0), 2147483647))), 0) FROM slot WHERE id <> ?1"};
    sqlite_statement create_{connection_,
                             "INSERT OR REPLACE INTO slot (id, attributes, length, bytes, sum)"
                             " VALUES (?1, ?2, ?3, NULL, ?4)"};
    sqlite_statement write_{connection_, "UPDATE slot SET bytes = ?2, sum = ?3 WHERE id = ?1"};
    sqlite_statement attributes_{connection_, "SELECT attributes FROM slot WHERE id = ?1"};
    sqlite_statement remove_{connection_, "DELETE FROM slot WHERE id = ?1"};
};

}  // namespace vemra::softtoken
