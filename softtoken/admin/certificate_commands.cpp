#include <cstdio>
#include <memory>

#include "admin/arguments.h"
#include "admin/file_input.h"
#include "admin/token_folder.h"
#include "store/certificate.h"
#include "store/failure.h"

namespace vemra::softtoken::admin {

namespace {

constexpr std::int64_t largest_certificate = 1 << 20;

struct certificate_options {
    std::string name;
    std::string file;
    std::string common_name;
    int days = 3650;
};

// A certificate joins the key pair that it certifies; without one on the token it brings the public
// half along.
void _store(const std::string& name, const made_certificate& made) {
    named_token token(name);
    std::string public_key = public_key_of(made.der);
    transaction changing(token.database);
    std::optional<std::int64_t> keypair = token.keys.find_keypair(public_key);
    if (!keypair) keypair = token.keys.add_keypair(public_key, made.private_key);
    token.keys.add_certificate(*keypair, made.der);
    changing.commit();
    std::printf("%s: %s\n", name.c_str(), subject_of(made.der).c_str());
}

void _import(const certificate_options& options) {
    std::string bytes = read_file(options.file, largest_certificate);
    std::string der;
    try {
        der = certificate_from_any(bytes);
    } catch (const failure& error) {
        if (error.code() != error_code::bad_certificate) throw;
        throw command_failure(exit_failed,
                              options.file + " holds no X.509 certificate in DER or PEM form");
    }
    _store(options.name, {"", der});
}

void _generate(const certificate_options& options) {
    directory_of(options.name);
    _store(options.name, make_certificate(options.common_name, options.days));
}

}  // namespace

void add_certificate_commands(CLI::App& program) {
    auto options = std::make_shared<certificate_options>();
    CLI::App* taken = program.add_subcommand("import-cert", "Put a certificate on a token");
    add_token_name(*taken, options->name);
    taken->add_option("FILE", options->file, "An X.509 certificate, DER or PEM")->required();
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
}

}  // namespace vemra::softtoken::admin
