#include <filesystem>

#include "basics/hex.h"
#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "files/file.h"
#include "keep/listing.h"
#include "keep/named_stamps.h"
#include "picture/picture.h"

namespace vemra::tool {

namespace {

struct export_options {
    std::string selector;
    std::string file;
    std::string all;
    bool force = false;
};

existing _what(const export_options& options) {
    return options.force ? existing::replace : existing::keep;
}

json _written(const stamp& one, const std::string& file) {
    json entry = identity_json(one);
    entry["bytes"] = one.data.size();
    entry["file"] = file;
    return entry;
}

// It is written as it is: what is left of a picture may be of use.
void _warn_of_damage(context& run, const stamp& one) {
    const std::string damage = damage_of(one.data.get());
    if (!damage.empty()) run.out.warn(quoted(one.name) + " is damaged: " + damage);
}

void _export_one(context& run, const export_options& options) {
    const stamp one = read_selected(run.tokens(), options.selector);
    _warn_of_damage(run, one);
    const bool to_output = options.file.empty() || options.file == "-";
    if (to_output) {
        run.out.write(one.data.get());
        return;
    }
    write_file(options.file, one.data.get(), _what(options));
    run.result["files"] = json::array({_written(one, options.file)});
    run.out.done(quoted(one.name) + " is in " + options.file);
}

// The name as far as a file name can hold it; the uuid keeps equal names apart.
std::string _file_name(const stamp& one) {
    std::string name = printable(one.name);
    for (char& letter : name) {
        if (letter == '/' || letter == '\\') letter = '_';
    }
    if (name.size() > 100) name.resize(100);
    if (!is_utf8(name) || name.front() == '.') name.insert(0, "stamp");
    return printable(name) + "-" + to_hex(one.uuid).substr(0, 12) +
           look_at(one.data.get()).file_suffix();
}

// A file that holds these bytes already is as good as written.
bool _holds(const std::string& path, const std::string& bytes) {
    return std::filesystem::file_size(path) == bytes.size() &&
           read_file(path, bytes.size()) == bytes;
}

// Why what has the name already stays as it is; empty when the stamp can be written there.
std::string _why_kept(const std::string& path, const std::string& bytes, existing what) {
    const std::filesystem::file_status there = std::filesystem::symlink_status(path);
    if (!std::filesystem::exists(there)) return "";
    if (!std::filesystem::is_regular_file(there)) return "is no plain file and is not replaced";
    if (what == existing::replace || _holds(path, bytes)) return "";
    return "exists and was kept; --force replaces it";
}

void _export_all(context& run, const export_options& options) {
    const held_stamps list = list_stamps(run.tokens());
    warn_of_unread(run, list);
    make_directory(options.all);
    run.result["files"] = json::array();
    for (const stamp& one : list.stamps) {
        if (!one.is_readable()) continue;
        _warn_of_damage(run, one);
        const std::string path = std::filesystem::path(options.all) / _file_name(one);
        const std::string why_kept = _why_kept(path, one.data.get(), _what(options));
        if (!why_kept.empty()) {
            run.out.warn(path + " " + why_kept);
            run.code = exit_code::partial;
            continue;
        }
        write_file(path, one.data.get(), existing::replace);
        run.result["files"].push_back(_written(one, path));
        run.out.remember(quoted(one.name) + " is in " + path);
        run.out.print(path + "\n");
    }
}

void _require_usable(const context& run, const export_options& options) {
    if (options.selector.empty() == options.all.empty()) {
        throw failure(exit_code::usage, "export takes one SELECTOR, or --all DIR");
    }
    if (!options.all.empty() && !options.file.empty()) {
        throw failure(exit_code::usage, "-o is for one stamp; --all takes a directory");
    }
    if (!options.all.empty()) return;
    const bool to_output = options.file.empty() || options.file == "-";
    if (to_output && run.out.is_json()) {
        throw failure(exit_code::usage, "with --json the bytes go to a file: give -o FILE");
    }
    if (to_output && run.out.is_terminal()) {
        throw failure(exit_code::usage, "raw bytes are not for a terminal: give -o FILE");
    }
}

}  // namespace

void add_export(CLI::App& program, context& run) {
    auto options = std::make_shared<export_options>();
    CLI::App* command = program.add_subcommand("export", "Write a stamp's bytes to a file");
    command->add_option("SELECTOR", options->selector, "The stamp");
    command->add_option("-o,--output", options->file, "File to write, or - for standard output")
        ->type_name("FILE");
    command->add_option("--all", options->all, "Write all stamps of all devices into a directory")
        ->type_name("DIR");
    command->add_flag("--force", options->force, "Replace files that exist");
    add_lock_option(*command, run);
    command->callback([&run, options] {
        _require_usable(run, *options);
        if (options->all.empty())
            _export_one(run, *options);
        else
            _export_all(run, *options);
    });
}

}  // namespace vemra::tool
