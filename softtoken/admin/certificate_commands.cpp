#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "admin/arguments.h"
#include "admin/file_input.h"
#include "admin/token_folder.h"
#include "store/certificate.h"
#include "store/failure.h"

namespace vemra::softtoken::admin {

namespace {

constexpr std::int64_t largest_certificate_file = 1 << 20;

struct certificate_options {
    std::string name;
    std::string file;
    std::string common_name;
    int days = 3650;
    std::int64_t number = 0;
};

bool _is_there(key_table& keys, const std::string& der) {
    std::vector<stored_certificate> stored = keys.certificates();
    return std::any_of(stored.begin(), stored.end(),
                       [&](const stored_certificate& each) { return each.der == der; });
}

// A certificate joins the key pair that it certifies; without one on the token it brings the public
// half along. What it did with it is the answer.
const char* _add_to(key_table& keys, const made_certificate& made) {
    if (_is_there(keys, made.der)) return " (was there already)";
    std::string public_key = public_key_of(made.der);
    std::optional<std::int64_t> keypair = keys.find_keypair(public_key);
    if (!keypair) keypair = keys.add_keypair(public_key, made.private_key);
    keys.add_certificate(*keypair, made.der);
    return "";
}

// Damaged ones are shown too, and can be removed.
std::string _shown(const stored_certificate& stored) {
    try {
        return subject_of(stored.der);
    } catch (const failure& error) {
        return std::string("(") + error.what() + ")";
    }
}

// All of them, or none.
void _store(const std::string& name, const std::vector<made_certificate>& certificates) {
    named_token token(name);
    transaction changing(token.database);
    std::vector<std::string> told;
    for (const made_certificate& made : certificates) {
        const char* done = _add_to(token.keys, made);
        told.push_back(name + ": " + subject_of(made.der) + done);
    }
    changing.commit();
    tell_done(told);
}

void _import(const certificate_options& options) {
    std::string bytes = read_file(options.file, largest_certificate_file);
    std::vector<made_certificate> found;
    try {
        for (std::string& der : certificates_from_any(bytes))
            found.push_back({"", std::move(der)});
    } catch (const failure& error) {
        if (error.code() != error_code::bad_certificate) throw;
        throw command_failure(
            exit_failed,
            options.file + " holds no X.509 certificate in DER or PEM form, or a damaged one");
    }
    _store(options.name, found);
}

void _list_certificates(const std::string& name) {
    named_token token(name);
    std::printf("%6s  %-11s %s\n", "NUMBER", "PRIVATE KEY", "SUBJECT");
    for (const stored_certificate& each : token.keys.certificates()) {
        std::printf("%6lld  %-11s %s\n", static_cast<long long>(each.id),
                    each.has_private_key ? "here" : "elsewhere", _shown(each).c_str());
    }
}

void _remove(const certificate_options& options) {
    named_token token(options.name);
    transaction changing(token.database);
    std::vector<stored_certificate> stored = token.keys.certificates();
    auto wanted = std::find_if(stored.begin(), stored.end(), [&](const stored_certificate& each) {
        return each.id == options.number;
    });
    if (wanted == stored.end()) {
        throw command_failure(exit_failed, "no certificate " + std::to_string(options.number) +
                                               ": see \"vemra-softtoken certs " + options.name +
                                               "\"");
    }
    token.keys.remove_certificate(*wanted);
    changing.commit();
    tell_done({options.name + ": " + _shown(*wanted) + " removed" +
               (wanted->has_private_key ? ", its key pair stays" : "")});
}

void _generate(const certificate_options& options) {
    directory_of(options.name);
    _store(options.name, {make_certificate(options.common_name, options.days)});
}

}  // namespace

void add_certificate_commands(CLI::App& program) {
    auto options = std::make_shared<certificate_options>();
    CLI::App* taken = program.add_subcommand("import-cert", "Put certificates on a token");
    add_token_name(*taken, options->name);
    taken
        ->add_option("FILE", options->file,
                     "An X.509 certificate, DER or PEM; a chain of them in PEM")
        ->required();
    taken->callback([options] { _import(*options); });

    CLI::App* generate = program.add_subcommand(
        "generate-cert", "Make a key pair on a token, with a certificate signed by itself");
    add_token_name(*generate, options->name);
    generate->add_option("--cn", options->common_name, "The subject's common name")
        ->required()
        ->check(CLI::Validator(
            [](std::string& text) {
                return text.empty() || text.size() > 64 ? "not 1 to 64 bytes" : "";
            },
            ""));
    generate->add_option("--days", options->days, "Days of validity")
        ->capture_default_str()
        ->check(CLI::Range(1, 36500));
    generate->callback([options] { _generate(*options); });

    CLI::App* list = program.add_subcommand("certs", "List a token's certificates");
    add_token_name(*list, options->name);
    list->callback([options] { _list_certificates(options->name); });

    CLI::App* remove = program.add_subcommand("remove-cert", "Take a certificate off a token");
    add_token_name(*remove, options->name);
    remove->add_option("NUMBER", options->number, "The certificate's number, as \"certs\" shows it")
        ->required();
    remove->callback([options] { _remove(*options); });
}

}  // namespace vemra::softtoken::admin
