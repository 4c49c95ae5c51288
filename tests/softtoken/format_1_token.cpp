#include "format_1_token.h"

#include <sys/stat.h>

#include "store/plug.h"
#include "store/sqlite_connection.h"
#include "store/token_files.h"

namespace softtoken_test {

using namespace vemra::softtoken;

namespace {

// What SQLite dumps of such a token.
constexpr const char* dump = R"(
CREATE TABLE token (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    uid TEXT NOT NULL,
    serial_number TEXT NOT NULL,
    type INTEGER NOT NULL,
    label TEXT NOT NULL,
    login_scope TEXT NOT NULL,
    capacity INTEGER NOT NULL,
    slot_size INTEGER NOT NULL,
    slots INTEGER NOT NULL,
    call_microseconds INTEGER NOT NULL,
    bytes_per_second INTEGER NOT NULL);
INSERT INTO token VALUES(1,'8345eae4b78c800a6f0024b5598c62eb','SN-old',1,'old','process',
                         1073741824,67108864,1000,0,0);
CREATE TABLE password (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    cost INTEGER NOT NULL,
    salt BLOB NOT NULL,
    hash BLOB NOT NULL,
    retries INTEGER NOT NULL,
    retries_left INTEGER NOT NULL);
INSERT INTO password VALUES(1,1,X'33e6e076a58e8bd0081f572d93f802dc',
                            X'835f54874f66a63fbfe649ef8195bf52e30f17c8d27a47902ff4eb066cb800e3',
                            10,10);
CREATE TABLE slot (
    id INTEGER PRIMARY KEY,
    attributes BLOB NOT NULL,
    length INTEGER NOT NULL,
    data BLOB);
INSERT INTO slot VALUES(8130,X'04010307',19,X'7772697474656e20627920666f726d61742031');
INSERT INTO slot VALUES(8131,X'04010307',3,NULL);
CREATE TABLE keypair (
    id INTEGER PRIMARY KEY,
    public_key BLOB NOT NULL,
    private_key BLOB NOT NULL);
CREATE TABLE certificate (
    id INTEGER PRIMARY KEY,
    keypair INTEGER NOT NULL REFERENCES keypair (id) ON DELETE CASCADE,
    der BLOB NOT NULL);
)";

}  // namespace

void make_format_1_token(const std::string& directory) {
    std::string path = database_path(directory);
    mkdir(directory.c_str(), 0700);
    {
        sqlite_connection connection(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        connection.execute(
            "PRAGMA page_size=8192; BEGIN; PRAGMA application_id=1448374123;"
            "PRAGMA user_version=1");
        connection.execute(dump);
        connection.execute("COMMIT; PRAGMA journal_mode=WAL");
    }
    chmod(path.c_str(), 0600);
    plug_in(directory);
}

}  // namespace softtoken_test
