#include <cstdio>
#include <filesystem>
#include <memory>

#include "admin/arguments.h"
#include "admin/token_folder.h"
#include "store/certificate.h"
#include "store/failure.h"
#include "store/fault_file.h"
#include "store/token_files.h"

namespace vemra::softtoken::admin {

namespace {

using findings = std::vector<std::string>;

// Each row of the answer is a finding.
void _ask(token_database& database, const char* sql, findings& found) {
    sqlite_statement statement(database.connection(), sql);
    sqlite_query query(statement);
    while (query.step()) {
        if (query.text(0) != "ok") found.push_back(query.text(0));
    }
}

void _check_rows(token_database& database, findings& found) {
    _ask(database, "PRAGMA integrity_check", found);
    _ask(database, "SELECT 'row without parent in ' || \"table\" FROM pragma_foreign_key_check",
         found);
    _ask(database, "SELECT 'token rows: ' || count(*) FROM token HAVING count(*) <> 1", found);
    _ask(database, "SELECT 'password rows: ' || count(*) FROM password HAVING count(*) <> 1",
         found);
    _ask(database,
         "SELECT 'retry counter out of range' FROM password"
         " WHERE retries_left < 0 OR retries_left > retries",
         found);
    _ask(database,
         "SELECT 'slot ' || id || ': length ' || length || ', bytes ' || length(data) FROM slot"
         " WHERE length < 0 OR length(data) <> length",
         found);
    _ask(database,
         "SELECT 'slot ' || id || ': bad attribute block' FROM slot"
         " WHERE length(attributes) <> 4",
         found);
}

void _check_certificates(token_database& database, findings& found) {
    sqlite_statement statement(database.connection(), "SELECT id, der FROM certificate");
    sqlite_query query(statement);
    while (query.step()) {
        try {
            certificate_from_der(query.bytes(1));
        } catch (const failure& error) {
            found.push_back("certificate " + std::to_string(query.integer(0)) + ": " +
                            error.what());
        }
    }
}

findings _check(const std::string& name) {
    findings found;
    try {
        named_token token(name);
        _check_rows(token.database, found);
        _check_certificates(token.database, found);
        read_faults(token.directory);
    } catch (const failure& error) {
        found.emplace_back(error.what());
    }
    return found;
}

bool _is_sound(const std::string& name) {
    findings found = _check(name);
    for (const std::string& each : found)
        std::printf("%s: %s\n", name.c_str(), each.c_str());
    if (found.empty()) std::printf("%s: sound\n", name.c_str());
    return found.empty();
}

void _fsck(const std::string& name) {
    std::vector<std::string> names{name};
    if (name.empty()) names = token_names(root_directory());
    bool all_sound = true;
    for (const std::string& each : names)
        all_sound &= _is_sound(each);
    if (!all_sound) {
        throw command_failure(exit_failed,
                              "unsound: bring it back with \"restore\", or save slots with "
                              "\"dump\" and make it anew");
    }
}

}  // namespace

void add_fsck_command(CLI::App& program) {
    auto name = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("fsck", "Check one token, or all of them");
    command->add_option("TOKEN", *name, "The token's name; all tokens when left out");
    command->callback([name] { _fsck(*name); });
}

}  // namespace vemra::softtoken::admin
