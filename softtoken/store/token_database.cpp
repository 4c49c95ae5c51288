#include "store/token_database.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "store/behaviour_table.h"
#include "store/failure.h"
#include "store/plain_file.h"
#include "store/slot_sum.h"

namespace vemra::softtoken {

namespace {

// Positions in the header of an SQLite database file.
constexpr std::size_t header_size = 100;
constexpr std::size_t user_version_position = 60;
constexpr std::size_t application_id_position = 68;
constexpr std::string_view header_magic{"SQLite format 3\0", 16};

using header = std::array<unsigned char, header_size>;

std::uint32_t _big_endian(const header& bytes, std::size_t position) {
    return (std::uint32_t{bytes[position]} << 24) | (std::uint32_t{bytes[position + 1]} << 16) |
           (std::uint32_t{bytes[position + 2]} << 8) | std::uint32_t{bytes[position + 3]};
}

// Before SQLite reads anything, since it would mend what a foreign program left behind.
void _require_token(const sqlite_connection& connection) {
    const std::string& path = connection.path();
    header bytes{};
    if (!connection.read_start(bytes.data(), bytes.size())) {
        throw failure(error_code::damaged, path + ": too short for a token");
    }
    if (std::memcmp(bytes.data(), header_magic.data(), header_magic.size()) != 0 ||
        _big_endian(bytes, application_id_position) != application_id) {
        throw failure(error_code::damaged, path + ": not a software token");
    }
    std::uint32_t version = _big_endian(bytes, user_version_position);
    if (version < version_without_sums || version > version_with_behaviour) {
        throw unknown_format(
            error_code::damaged,
            path + ": token format " + std::to_string(version) + " is not known here");
    }
}

// SQLite would silently throw away a log that does not begin like one, and what was committed to
// it. A log of zero bytes is what a power cut may leave of one that nothing was committed to.
void _require_sound_log(const std::string& path) {
    constexpr std::size_t header_of_log = 32;
    std::string bytes = read_plain_file(path, header_of_log).value_or("");
    if (bytes.size() < header_of_log) return;
    bool begins_like_one = bytes.compare(0, 3, "\x37\x7f\x06") == 0 && (bytes[3] | 1) == '\x83';
    if (begins_like_one || bytes.find_first_not_of('\0') == std::string::npos) return;
    throw failure(error_code::damaged,
                  path + ": damaged log; move it away to go on with the state before it");
}

// Where SQLite can make neither log nor index, nobody changes anything either: it needs no locks,
// and reads a log that lies there with an index in memory.
sqlite_connection _open(const std::string& path) {
    require_plain_database(path);
    if (!is_on_read_only_disk(path)) return {path, SQLITE_OPEN_READWRITE};
    struct stat log {};
    if (stat((path + "-wal").c_str(), &log) == 0 && log.st_size > 0) {
        return {path, SQLITE_OPEN_READONLY, "unix-none"};
    }
    return {path, SQLITE_OPEN_READONLY, "unix-none", true};
}

std::vector<std::int64_t> _slot_numbers(sqlite_connection& connection) {
    sqlite_statement statement(connection, "SELECT id FROM slot");
    sqlite_query query(statement);
    std::vector<std::int64_t> numbers;
    while (query.step())
        numbers.push_back(query.integer(0));
    return numbers;
}

// The column of bytes gets another name too: software that knows nothing of sums, and has had the
// token open since before, must not go on to write bytes without them.
void _add_sums(sqlite_connection& connection) {
    connection.execute(
        "ALTER TABLE slot RENAME COLUMN data TO bytes; ALTER TABLE slot ADD COLUMN sum INTEGER");
    sqlite_statement read(connection, "SELECT attributes, length, bytes FROM slot WHERE id = ?1");
    sqlite_statement write(connection, "UPDATE slot SET sum = ?2 WHERE id = ?1");
    for (std::int64_t id : _slot_numbers(connection)) {
        std::int64_t sum = 0;
        {
            sqlite_query row(read);
            row.bind(1, id).step();
            std::optional<std::string_view> bytes;
            if (!row.is_null(2)) bytes = row.bytes(2);
            sum = slot_sum(id, row.bytes(0), row.integer(1), bytes);
        }
        sqlite_query(write).bind(1, id).bind(2, sum).run();
    }
}

// SQLite alone keeps changes apart. The turn gives their order, which SQLite's waiting lacks; where
// its file cannot be had, a change waits without it.
void _take_turn(std::optional<file_lock>& turn, const std::string& database_path,
                std::chrono::steady_clock::time_point deadline) {
    const std::string directory = database_path.substr(0, database_path.rfind('/') + 1);
    try {
        turn.emplace(directory + "write.lock", deadline);
    } catch (const failure& error) {
        if (error.code() == error_code::busy) throw;
    }
}

// Waiting for the turn and for SQLite's lock behind it take no longer together than one wait.
class _waiting_until {
public:
    _waiting_until(sqlite_connection& connection, std::chrono::steady_clock::time_point deadline)
        : connection_(connection) {
        using std::chrono::milliseconds;
        auto left =
            std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
        connection_.set_wait(std::max(left, milliseconds(1)));
    }
    ~_waiting_until() { connection_.set_wait(busy_wait); }
    _waiting_until(const _waiting_until&) = delete;
    _waiting_until& operator=(const _waiting_until&) = delete;

private:
    sqlite_connection& connection_;
};

}  // namespace

bool is_on_read_only_disk(const std::string& path) {
    struct statvfs disk {};
    return statvfs(path.c_str(), &disk) == 0 && (disk.f_flag & ST_RDONLY) != 0;
}

void require_token_database(const std::string& path) {
    _require_token(sqlite_connection(path, SQLITE_OPEN_READONLY));
}

token_database::token_database(const std::string& path) : connection_(_open(path)) {
    _require_token(connection_);
    _require_sound_log(path + "-wal");
    if (is_on_read_only_disk(path)) connection_.execute("PRAGMA locking_mode=EXCLUSIVE");
    // Full synchronisation makes each commit durable before the call returns. A process that ends
    // without closing leaves its log behind; the next one to open the token takes it in.
    connection_.execute(
        "PRAGMA synchronous=FULL; PRAGMA cache_size=-4096;"
        "PRAGMA foreign_keys=ON; PRAGMA trusted_schema=OFF;");
}

token_info token_database::info() {
    sqlite_statement statement(connection_, "SELECT uid, serial_number, type, label FROM token");
    sqlite_query query(statement);
    if (!query.step()) throw failure(error_code::damaged, connection_.path() + ": no token row");
    token_info info;
    info.uid = query.text(0);
    info.serial_number = query.text(1);
    std::int64_t type = query.integer(2);
    if (type < 0 || type > INT_MAX) {
        throw failure(error_code::damaged, connection_.path() + ": device type out of range");
    }
    info.type = static_cast<int>(type);
    info.label = query.text(3);
    info.behaviour = stored_behaviour(connection_);
    return info;
}

void token_database::set_behaviour(const personality& behaviour) {
    if (store_behaviour(connection_, behaviour)) changes_format_ = true;
}

// In the transaction that is open.
void token_database::take_over() {
    changes_format_ = false;
    if (is_present_format_) return;
    if (format_version(connection_) != version_without_sums) {
        is_present_format_ = true;
        return;
    }
    _add_sums(connection_);
    connection_.execute("PRAGMA user_version=" + std::to_string(schema_version));
    changes_format_ = true;
}

// Other software looks for the format in the database file before it reads the log. What a reader
// holds back here comes with a later change.
void token_database::end_change_of_format() {
    is_present_format_ = true;
    sqlite3_wal_checkpoint_v2(connection_.raw(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr,
                              nullptr);
}

moment::moment(token_database& database) : database_(database.connection().raw()) {
    database.connection().execute("BEGIN");
}

moment::~moment() {
    sqlite3_exec(database_, "ROLLBACK", nullptr, nullptr, nullptr);
}

transaction::transaction(token_database& database) : database_(database) {
    const auto deadline = end_of_busy_wait();
    _take_turn(turn_, database.connection_.path(), deadline);
    _waiting_until wait(database.connection_, deadline);
    sqlite_query(database.begin_).run();
    try {
        database.take_over();
    } catch (...) {
        roll_back();
        throw;
    }
}

transaction::~transaction() {
    if (open_) roll_back();
}

void transaction::roll_back() noexcept {
    try {
        sqlite_query(database_.rollback_).run();
    } catch (const std::exception&) {
        // Some failures have rolled back already; then there is nothing to undo.
    }
}

void transaction::commit() {
    sqlite_query(database_.commit_).run();
    open_ = false;
    if (database_.changes_format_) database_.end_change_of_format();
}

}  // namespace vemra::softtoken
