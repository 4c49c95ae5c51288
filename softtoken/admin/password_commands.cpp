#include <memory>

#include "admin/arguments.h"
#include "admin/password_input.h"
#include "admin/token_folder.h"
#include "store/failure.h"
#include "store/password_check.h"

namespace vemra::softtoken::admin {

namespace {

struct change_options {
    std::string name;
    password_input old_password{"", "present password"};
    password_input new_password{"new-", "new password"};
};

void _check_old_password(named_token& token, const std::string& name, std::string_view password) {
    int retries = 0;
    try {
        check_password(token.database, token.passwords, token.directory, password, retries);
    } catch (const failure& error) {
        if (error.code() == error_code::locked) {
            throw command_failure(
                exit_wrong_password,
                "the token is locked: run \"vemra-softtoken unlock " + name + "\" first");
        }
        if (error.code() != error_code::wrong_password) throw;
        throw command_failure(exit_wrong_password,
                              "wrong password, attempts left: " + std::to_string(retries));
    }
}

void _change_password(const change_options& options) {
    named_token token(options.name);
    secret present;
    options.old_password.read(present);
    _check_old_password(token, options.name, present.view());
    secret wanted;
    options.new_password.read_new(wanted);
    password_hash hash = hash_password(wanted.view(), token.passwords.hash().cost);
    transaction changing(token.database);
    token.passwords.replace(hash);
    changing.commit();
}

void _unlock(const std::string& name) {
    named_token token(name);
    give_back_attempts(token.database, token.passwords, token.directory);
    tell_done({name + ": attempts left: " + std::to_string(token.passwords.retries().most)});
}

}  // namespace

void add_password_commands(CLI::App& program) {
    auto options = std::make_shared<change_options>();
    CLI::App* change = program.add_subcommand("change-password", "Change a token's user password");
    change->alias("passwd");
    add_token_name(*change, options->name);
    options->old_password.add_to(*change);
    options->new_password.add_to(*change);
    change->callback([options] { _change_password(*options); });

    auto name = std::make_shared<std::string>();
    CLI::App* unlock = program.add_subcommand("unlock", "Give back all password attempts");
    add_token_name(*unlock, *name);
    unlock->callback([name] { _unlock(*name); });
}

}  // namespace vemra::softtoken::admin
