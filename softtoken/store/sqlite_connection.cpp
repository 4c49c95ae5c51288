#include "store/sqlite_connection.h"

#include <new>

#include "store/failure.h"

namespace vemra::softtoken {

namespace {

error_code _code_of(int result) {
    switch (result & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return error_code::busy;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_SCHEMA:
        case SQLITE_ERROR:
            return error_code::damaged;
        default:
            return error_code::storage_failed;
    }
}

}  // namespace

sqlite_connection::sqlite_connection(const std::string& path, int flags) : path_(path) {
    int result = sqlite3_open_v2(path.c_str(), &database_, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    try {
        if (result != SQLITE_OK) fail(result);
        sqlite3_extended_result_codes(database_, 1);
        sqlite3_busy_timeout(database_, busy_wait_seconds * 1000);
    } catch (...) {
        sqlite3_close(database_);
        throw;
    }
}

sqlite_connection::~sqlite_connection() {
    sqlite3_close(database_);
}

void sqlite_connection::execute(const std::string& sql) {
    int result = sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) fail(result);
}

void sqlite_connection::fail(int result) const {
    if ((result & 0xff) == SQLITE_NOMEM) throw std::bad_alloc();
    const char* text = database_ == nullptr ? sqlite3_errstr(result) : sqlite3_errmsg(database_);
    throw failure(_code_of(result), path_ + ": " + text);
}

}  // namespace vemra::softtoken
