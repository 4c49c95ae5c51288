#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "basics/digest.h"
#include "basics/hex.h"
#include "basics/text.h"
#include "command_line/descriptor.h"
#include "command_line/interruption.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "keep/describe.h"
#include "keep/named_stamps.h"
#include "terminal/table.h"

namespace vemra::tool {

namespace {

struct show_options {
    std::string selector;
    bool preview = false;
};

std::string _resolution(const picture& seen) {
    if (!seen.x_resolution || !seen.y_resolution) return "not told";
    char text[64];
    std::snprintf(text, sizeof(text), "%g x %g pixels an inch", *seen.x_resolution,
                  *seen.y_resolution);
    return text;
}

std::string _transparency(const picture& seen) {
    if (seen.is_damaged()) return "the picture is damaged";
    switch (seen.transparent) {
        case picture::transparency::yes:
            return "transparent";
        case picture::transparency::no:
            return "opaque";
        case picture::transparency::unknown:
            break;
    }
    return "not told";
}

// chafa reads the picture from a file in memory and draws on the tool's own output.
bool _draw(int output, const std::string& data) {
    const descriptor file(memfd_create("picture", 0));
    if (!file.is_open() || !write_all(file.get(), data)) return false;
    lseek(file.get(), 0, SEEK_SET);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, file.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    const sigset_t signals = interruption::mask_before();
    posix_spawnattr_setsigmask(&attributes, &signals);
    const sigset_t ignored = interruption::ignored_signals();
    posix_spawnattr_setsigdefault(&attributes, &ignored);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    char program[] = "chafa";
    char animate[] = "--animate=off";
    char input[] = "/dev/stdin";
    char* const arguments[] = {program, animate, input, nullptr};
    pid_t child = 0;
    const int failed = posix_spawnp(&child, program, &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) return false;
    int status = 0;
    return waitpid(child, &status, 0) == child && status == 0;
}

void _show(context& run, const show_options& options) {
    const stamp one = read_selected(run.tokens(), options.selector);
    const pictured_stamp shown = look_at(one);
    const picture& seen = shown.seen;
    const int slot = one.slot;
    run.result["stamp"] = stamp_json(shown);
    run.result["stamp"]["slot"] = slot == 0 ? json(nullptr) : json(slot);

    std::vector<std::vector<std::string>> rows{
        {"name", printable(one.name)},       {"uuid", to_hex(one.uuid)},
        {"device", describe(one.device)},    {"slot", slot == 0 ? "unknown" : std::to_string(slot)},
        {"media type", seen.media_type},     {"bytes", std::to_string(one.data.size())},
        {"SHA-256", sha256(one.data.get())}, {"pixels", seen.pixels()},
        {"resolution", _resolution(seen)},   {"transparency", _transparency(seen)}};
    if (seen.is_damaged()) rows.push_back({"damage", seen.damage});
    run.out.print(table(rows));
    if (!options.preview || run.out.is_json()) return;
    if (!_draw(run.out.descriptor(), one.data.get())) {
        run.out.warn("no preview: chafa is not installed or cannot draw this");
    }
}

}  // namespace

void add_show(CLI::App& program, context& run) {
    auto options = std::make_shared<show_options>();
    CLI::App* command = program.add_subcommand("show", "Tell everything about one stamp");
    command->add_option("SELECTOR", options->selector, "The stamp")->required();
    command->add_flag("--preview", options->preview, "Draw it in the terminal, through chafa");
    add_lock_option(*command, run);
    command->callback([&run, options] { _show(run, *options); });
}

}  // namespace vemra::tool
