#include "store/sqlite_connection.h"

#include <cstring>
#include <filesystem>
#include <new>

#include "store/descriptor_limit.h"
#include "store/failure.h"
#include "store/file_lock.h"

namespace vemra::softtoken {

namespace {

error_code _code_of(int result) {
    switch (result & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_PROTOCOL:
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

// SQLite quotes a damaged file; its bytes are nothing for a terminal or a log.
std::string _printable(std::string text) {
    for (char& byte : text)
        if (byte < ' ' || byte > '~') byte = '?';
    return text;
}

// Every byte in digits, so that none of them means anything.
std::string _uri_of(const std::string& path) {
    std::string uri = "file:";
    for (char byte : std::filesystem::absolute(path).string()) {
        if (byte == '/') {
            uri += byte;
            continue;
        }
        for (int shift : {8, 4, 0})
            uri += shift == 8 ? '%'
                              : "0123456789abcdef"[static_cast<unsigned char>(byte) >> shift & 15];
    }
    return uri;
}

}  // namespace

sqlite_connection::sqlite_connection(const std::string& path, int flags, const char* vfs,
                                     bool immutable)
    : path_(path) {
    std::string name = immutable ? _uri_of(path) + "?immutable=1" : path;
    flags |= SQLITE_OPEN_NOMUTEX | (immutable ? SQLITE_OPEN_URI : 0);
    int result = sqlite3_open_v2(name.c_str(), &database_, flags, vfs);
    try {
        if (result != SQLITE_OK) fail(result);
        sqlite3_extended_result_codes(database_, 1);
        set_wait(busy_wait);
    } catch (...) {
        sqlite3_close(database_);
        throw;
    }
}

sqlite_connection::~sqlite_connection() {
    sqlite3_close(database_);
}

void sqlite_connection::set_wait(std::chrono::milliseconds wait) noexcept {
    sqlite3_busy_timeout(database_, static_cast<int>(wait.count()));
}

void sqlite_connection::execute(const std::string& sql) {
    int result = sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) fail(result);
}

bool sqlite_connection::read_start(void* bytes, std::size_t size) const {
    sqlite3_file* file = nullptr;
    sqlite3_file_control(database_, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    int result = file->pMethods->xRead(file, bytes, static_cast<int>(size), 0);
    if (result == SQLITE_IOERR_SHORT_READ) return false;
    if (result != SQLITE_OK) {
        throw failure(error_code::storage_failed, path_ + ": " + sqlite3_errstr(result));
    }
    return true;
}

void sqlite_connection::fail(int result) const {
    if ((result & 0xff) == SQLITE_NOMEM) throw std::bad_alloc();
    int reason = database_ == nullptr ? 0 : sqlite3_system_errno(database_);
    if ((result & 0xff) == SQLITE_CANTOPEN && is_descriptor_limit(reason)) {
        throw out_of_descriptors(path_, reason);
    }
    std::string text = database_ == nullptr ? sqlite3_errstr(result) : sqlite3_errmsg(database_);
    // A file that cannot be opened has a better reason than SQLite's.
    if ((result & 0xff) == SQLITE_CANTOPEN && reason != 0) text = std::strerror(reason);
    if ((result & 0xff) == SQLITE_IOERR && reason != 0) {
        text += ": " + std::string(std::strerror(reason));
    }
    throw failure(_code_of(result), path_ + ": " + _printable(text));
}

}  // namespace vemra::softtoken
