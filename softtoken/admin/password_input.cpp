#include "admin/password_input.h"

#include <cstdio>

#include "admin/arguments.h"
#include "command_line/open_descriptor.h"
#include "command_line/text.h"

namespace vemra::softtoken::admin {

namespace {

void _warn(const std::string& warning) {
    std::fprintf(stderr, "vemra-softtoken: %s\n", printable(warning).c_str());
}

}  // namespace

void password_input::add_to(CLI::App& command) {
    const std::string option = "--" + source_.option_prefix + "password-";
    auto* file = command.add_option(option + "file", source_.file,
                                    "Take the " + what_ + " from the first line of this file");
    auto* descriptor =
        command.add_option(option + "fd", source_.descriptor,
                           "Take the " + what_ + " from the first line of this open descriptor");
    descriptor->check(open_descriptor());
    file->excludes(descriptor);
}

void password_input::read(secret& password) const {
    read_password(source_, what_, password, _warn);
}

void password_input::read_new(secret& password) const {
    bool is_typed = read_password(source_, what_, password, _warn);
    if (!is_typed) return;
    secret again;
    read_password(source_, what_ + ", again", again, _warn);
    if (again.view() != password.view()) {
        throw command_failure(exit_usage, "the two entries differ: nothing was changed");
    }
}

}  // namespace vemra::softtoken::admin
