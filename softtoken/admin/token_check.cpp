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
#include "store/token_owner.h"

namespace vemra::softtoken::admin {

namespace {

std::string _bring_back_or_make_anew(const std::string& name) {
    return "bring it back with \"restore " + name + " FILE\", or make it anew";
}

std::string _bring_back(const std::string& name) {
    return "bring it back with \"restore " + name +
           " FILE\", or save its slots with \"dump\" and "
           "make it anew";
}

// Each row of the answer is a finding.
void _ask(token_database& database, const std::string& sql, const std::string& advice,
          findings& found, bool is_of_all = false) {
    sqlite_statement statement(database.connection(), sql.c_str());
    sqlite_query query(statement);
    while (query.step()) {
        if (query.text(0) != "ok") found.push_back({query.text(0), advice, is_of_all});
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

void _check_files(const std::string& directory, findings& found) {
    std::vector<std::string> paths{directory};
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
        paths.push_back(entry.path());
    struct stat owner {};
    if (error || stat(directory.c_str(), &owner) != 0) return;
    for (const std::string& path : paths) {
        struct stat status {};
        if ((path == directory ? stat : lstat)(path.c_str(), &status) != 0) continue;
        if (path != directory && !S_ISREG(status.st_mode)) {
            found.push_back({path + " is not a plain file", "move it away"});
            continue;
        }
        if ((status.st_mode & 077) != 0) {
            found.push_back({"others may use " + path, "run \"chmod go= " + path + "\""});
        }
        if (status.st_uid != owner.st_uid) {
            std::string user = user_name(owner.st_uid);
            found.push_back({path + " belongs to user " + user_name(status.st_uid) +
                                 ", the token's directory to " + user,
                             "as root, run \"chown " + user + ": " + path + "\""});
        }
    }
}

// Only damage is a reason to bring a token back: one that is in use, or lies where nothing can be
// written or read at this moment, may be sound.
std::string _advice_for(const failure& error, const std::string& for_damage) {
    switch (error.code()) {
        case error_code::busy:
            return "the token is in use: check it again when the other program is done";
        case error_code::damaged:
            return for_damage;
        default:
            return "that is no damage of the token: mend it, and check again";
    }
}

finding _finding_of(const failure& error, const std::string& for_damage) {
    if (dynamic_cast<const unknown_format*>(&error) != nullptr) {
        return {error.what(), "check it with the software that made it", true};
    }
    return {error.what(), _advice_for(error, for_damage), true};
}

}  // namespace

findings check_database(token_database& database, const std::string& name) {
    findings found;
    try {
        _ask(database, "PRAGMA integrity_check", _bring_back(name), found, true);
        _ask(database, "SELECT 'row without parent in ' || \"table\" FROM pragma_foreign_key_check",
             _bring_back(name), found, true);
        _ask(database, "SELECT 'token rows: ' || count(*) FROM token HAVING count(*) <> 1",
             _bring_back(name), found, true);
        _check_password(database, name, found);
        _check_slots(database, name, found);
        _check_keys(database, name, found);
        database.info();
    } catch (const failure& error) {
        found.push_back(_finding_of(error, _bring_back(name)));
    }
    return found;
}

findings check_token(const std::string& directory, const std::string& name) {
    findings found;
    std::string path = database_path(directory);
    try {
        require_own_token(directory);
        if (identify(path)) {
            token_database database(path);
            found = check_database(database, name);
        } else {
            found.push_back({path + ": No such file or directory", _bring_back_or_make_anew(name)});
        }
    } catch (const failure& error) {
        // Nothing opens it, so no slot can be saved from it.
        found.push_back(_finding_of(error, _bring_back_or_make_anew(name)));
    }
    try {
        read_faults(directory);
    } catch (const failure& error) {
        found.push_back({error.what(), "run \"fault clear " + name + "\""});
    }
    _check_files(directory, found);
    return found;
}

}  // namespace vemra::softtoken::admin
