#include "admin/token_check.h"

#include <sys/stat.h>

#include <climits>
#include <filesystem>

#include "store/certificate.h"
#include "store/failure.h"
#include "store/fault_file.h"
#include "store/password_hash.h"
#include "store/slot_table.h"
#include "store/token_files.h"

namespace vemra::softtoken::admin {

namespace {

std::string _bring_back(const std::string& name) {
    return "bring it back with \"restore " + name +
           " FILE\", or save its slots with \"dump\" and "
           "make it anew";
}

// Each row of the answer is a finding.
void _ask(token_database& database, const std::string& sql, const std::string& advice,
          findings& found) {
    sqlite_statement statement(database.connection(), sql.c_str());
    sqlite_query query(statement);
    while (query.step()) {
        if (query.text(0) != "ok") found.push_back({query.text(0), advice});
    }
}

void _check_password(token_database& database, const std::string& name, findings& found) {
    _ask(database, "SELECT 'password rows: ' || count(*) FROM password HAVING count(*) <> 1",
         _bring_back(name), found);
    _ask(database,
         "SELECT 'password hash out of shape' FROM password WHERE cost NOT BETWEEN " +
             std::to_string(lowest_password_cost) + " AND " +
             std::to_string(highest_password_cost) +
             " OR typeof(salt) <> 'blob' OR typeof(hash) <> 'blob' OR length(hash) <> 32",
         _bring_back(name), found);
    _ask(database, "SELECT 'no password attempts at all' FROM password WHERE retries < 1",
         "give it some with \"profile " + name + " --retries N\"", found);
    _ask(database,
         "SELECT 'retry counter out of range' FROM password"
         " WHERE retries_left < 0 OR retries_left > retries",
         "run \"unlock " + name + "\"", found);
}

void _check_slots(token_database& database, const std::string& name, findings& found) {
    std::string load = "give it other bytes with \"load " + name + " SLOT FILE\", or ";
    for (const damaged_slot& slot : slot_table(database.connection()).damaged()) {
        bool can_be_named = slot.id >= 0 && slot.id <= INT_MAX;
        found.push_back({"slot " + std::to_string(slot.id) + ": " + slot.what,
                         (can_be_named ? load : "") + _bring_back(name)});
    }
}

void _check_keys(token_database& database, const std::string& name, findings& found) {
    sqlite_statement statement(
        database.connection(),
        "SELECT certificate.id, der, public_key, private_key FROM certificate"
        " JOIN keypair ON keypair.id = certificate.keypair");
    sqlite_query query(statement);
    while (query.step()) {
        std::string which = "certificate " + std::to_string(query.integer(0)) + ": ";
        try {
            std::string der = certificate_from_der(query.bytes(1));
            if (public_key_of(der) != query.text(2)) {
                found.push_back({which + "it is of another key", _bring_back(name)});
            }
            std::string private_key = query.text(3);
            if (!private_key.empty() && public_half_of(private_key) != query.text(2)) {
                found.push_back({which + "its private key is another's", _bring_back(name)});
            }
        } catch (const failure& error) {
            found.push_back({which + error.what(), _bring_back(name)});
        }
    }
}

void _check_modes(const std::string& directory, findings& found) {
    std::vector<std::string> paths{directory};
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        paths.push_back(entry.path());
    for (const std::string& path : paths) {
        struct stat status {};
        if (stat(path.c_str(), &status) == 0 && (status.st_mode & 077) != 0) {
            found.push_back({"others may use " + path, "run \"chmod go= " + path + "\""});
        }
    }
}

}  // namespace

findings check_database(token_database& database, const std::string& name) {
    findings found;
    try {
        _ask(database, "PRAGMA integrity_check", _bring_back(name), found);
        _ask(database, "SELECT 'row without parent in ' || \"table\" FROM pragma_foreign_key_check",
             _bring_back(name), found);
        _ask(database, "SELECT 'token rows: ' || count(*) FROM token HAVING count(*) <> 1",
             _bring_back(name), found);
        _check_password(database, name, found);
        _check_slots(database, name, found);
        _check_keys(database, name, found);
        database.info();
    } catch (const failure& error) {
        found.push_back({error.what(), _bring_back(name)});
    }
    return found;
}

findings check_token(const std::string& directory, const std::string& name) {
    findings found;
    try {
        token_database database(database_path(directory));
        found = check_database(database, name);
    } catch (const failure& error) {
        found.push_back({error.what(), _bring_back(name)});
    }
    try {
        read_faults(directory);
    } catch (const failure& error) {
        found.push_back({error.what(), "run \"fault clear " + name + "\""});
    }
    _check_modes(directory, found);
    return found;
}

}  // namespace vemra::softtoken::admin
