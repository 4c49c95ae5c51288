#include <algorithm>

#include "basics/hex.h"
#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "keep/describe.h"
#include "keep/listing.h"
#include "terminal/table.h"

namespace vemra::tool {

namespace {

constexpr std::size_t shortest_shown = 12;

// Enough digits to tell all listed stamps apart, so that each can be copied as a selector.
std::size_t _shown_digits(const std::vector<stamp>& stamps) {
    std::vector<std::string> uuids;
    for (const stamp& one : stamps) {
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

void _list(context& run, const device_choice& wanted) {
    const held_stamps list = list_stamps(run.tokens(), wanted);
    warn_of_unread(run, list);
    const std::size_t digits =
        run.out.is_verbose() ? std::string::npos : _shown_digits(list.stamps);
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
    if (list.stamps.empty())
        run.out.note("no stamps");
    else
        run.out.print(table(rows));
}

}  // namespace

void add_list(CLI::App& program, context& run) {
    auto device = std::make_shared<device_choice>();
    CLI::App* command = program.add_subcommand("list", "List the stamps");
    add_device_options(*command, *device);
    add_lock_option(*command, run);
    command->callback([&run, device] { _list(run, *device); });
}

}  // namespace vemra::tool
