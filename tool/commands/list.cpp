#include <algorithm>

#include "basics/hex.h"
#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "keep/describe.h"
#include "keep/listing.h"
#include "keep/named_stamps.h"
#include "terminal/table.h"

namespace vemra::tool {

namespace {

constexpr std::size_t shortest_shown = 12;

struct list_options {
    device_choice device;
    bool names = false;
};

// Enough digits to tell all listed stamps apart, so that each can be copied as a selector.
std::size_t _digits_apart(const std::vector<named_stamp>& stamps) {
    std::vector<std::string> uuids;
    for (const named_stamp& one : stamps) {
        uuids.push_back(to_hex(one.uuid));
    }
    std::sort(uuids.begin(), uuids.end());
    std::size_t digits = shortest_shown;
    for (std::size_t i = 1; i < uuids.size(); ++i) {
        const auto differ = std::mismatch(uuids[i].begin(), uuids[i].end(), uuids[i - 1].begin());
        digits = std::max(digits, static_cast<std::size_t>(differ.first - uuids[i].begin()) + 1);
    }
    return digits;
}

std::size_t _shown_digits(const context& run, const std::vector<named_stamp>& stamps) {
    return run.out.is_verbose() ? std::string::npos : _digits_apart(stamps);
}

void _print(context& run, const std::vector<std::vector<std::string>>& rows) {
    if (rows.size() == 1)
        run.out.note("no stamps");
    else
        run.out.print(table(rows));
}

void _list_names(context& run, const device_choice& wanted) {
    const held_names list = list_names(run.tokens(), wanted);
    warn_of_errors(run, list.errors);
    const std::size_t digits = _shown_digits(run, list.stamps);
    run.result["stamps"] = json::array();
    std::vector<std::vector<std::string>> rows{{"UUID", "NAME", "DEVICE"}};
    for (const named_stamp& one : list.stamps) {
        run.result["stamps"].push_back(identity_json(one));
        rows.push_back(
            {to_hex(one.uuid).substr(0, digits), printable(one.name), describe(one.device)});
    }
    _print(run, rows);
}

void _list(context& run, const device_choice& wanted) {
    const held_stamps list = list_stamps(run.tokens(), wanted);
    warn_of_unread(run, list);
    const std::size_t digits = _shown_digits(run, names_of(list.stamps));
    run.result["stamps"] = json::array();
    std::vector<std::vector<std::string>> rows{
        {"UUID", "NAME", "MEDIA TYPE", "BYTES", "PIXELS", "DEVICE"}};
    for (const stamp& one : list.stamps) {
        if (!one.is_readable()) {
            rows.push_back({to_hex(one.uuid).substr(0, digits), printable(one.name), "unreadable",
                            "-", "-", describe(one.device)});
            continue;
        }
        const pictured_stamp shown = look_at(one);
        const picture& seen = shown.seen;
        run.result["stamps"].push_back(stamp_json(shown));
        rows.push_back({to_hex(one.uuid).substr(0, digits), printable(one.name),
                        seen.media_type + (seen.is_damaged() ? ", damaged" : ""),
                        std::to_string(one.data.size()), seen.pixels(), describe(one.device)});
    }
    _print(run, rows);
}

}  // namespace

void add_list(CLI::App& program, context& run) {
    auto options = std::make_shared<list_options>();
    CLI::App* command = program.add_subcommand("list", "List the stamps");
    add_device_options(*command, options->device);
    command->add_flag("--names", options->names,
                      "Names and uuids alone, without reading a picture");
    add_lock_option(*command, run);
    command->callback([&run, options] {
        if (options->names)
            _list_names(run, options->device);
        else
            _list(run, options->device);
    });
}

}  // namespace vemra::tool
