#include "any_token.h"

#include <fstream>
#include <iterator>

#include "store/failure.h"
#include "store/key_table.h"
#include "store/slot_table.h"
#include "store/token_database.h"
#include "store/token_files.h"

using namespace vemra::softtoken;

std::string content_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void fill_token(const std::string& directory, const std::string& uid) {
    token_database database(database_path(directory));
    const personality limits;
    transaction change(database);
    // The same bytes in every run, so that an input always means the same file.
    database.connection().execute("UPDATE token SET uid = '" + uid +
                                  "'; UPDATE password SET salt = zeroblob(16), hash = "
                                  "zeroblob(32)");
    const unsigned char attributes[] = {4, 1, 3, 7};
    slot_table slots(database.connection());
    slots.create(8130, attributes, 5, limits);
    slots.write(8130, "hello", 5);
    slots.create(8131, attributes, 20000, limits);
    change.commit();
}

void add_certificate(const std::string& directory) {
    token_database database(database_path(directory));
    transaction change(database);
    key_table keys(database.connection());
    keys.add_certificate(keys.add_keypair("public", "private"), "certificate");
    change.commit();
}

std::string token_bytes(choices& input, char kind, const std::string& good) {
    if (kind == 'R') return input.rest();
    std::string bytes = good;
    if (kind == 'V') return bytes;
    if (input.yes()) bytes.resize(static_cast<unsigned int>(input.number()) % bytes.size());
    while (!input.is_used_up() && !bytes.empty()) {
        const auto position = static_cast<unsigned int>(input.number()) % bytes.size();
        bytes[position] = static_cast<char>(input.byte());
    }
    return bytes;
}

void change_values(choices& input, const std::string& path) {
    constexpr const char* columns[][2] = {
        {"token", "type"},        {"token", "capacity"},          {"token", "slot_size"},
        {"token", "slots"},       {"token", "call_microseconds"}, {"token", "bytes_per_second"},
        {"token", "login_scope"}, {"token", "serial_number"},     {"slot", "id"},
        {"slot", "length"},       {"slot", "attributes"},         {"slot", "bytes"},
        {"slot", "sum"},          {"certificate", "der"},         {"password", "retries_left"}};
    sqlite_connection connection(path, SQLITE_OPEN_READWRITE);
    while (!input.is_used_up()) {
        const auto& column = columns[input.byte() % std::size(columns)];
        std::string value = "x'0041'";
        if (input.yes()) {
            const auto high = static_cast<std::uint32_t>(input.number());
            const auto low = static_cast<std::uint32_t>(input.number());
            const std::uint64_t bits = (std::uint64_t{high} << 32) | low;
            value = std::to_string(static_cast<std::int64_t>(bits));
        }
        try {
            connection.execute(std::string("UPDATE ") + column[0] + " SET " + column[1] + " = " +
                               value);
        } catch (const failure&) {
            // Some values the schema does not let in, such as the same slot twice.
        }
    }
}
