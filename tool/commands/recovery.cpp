#include "keep/recovery.h"

#include <algorithm>

#include "basics/digest.h"
#include "basics/hex.h"
#include "basics/text.h"
#include "commands/commands.h"
#include "commands/kept.h"
#include "commands/shapes.h"
#include "keep/describe.h"
#include "terminal/table.h"

namespace vemra::tool {

namespace {

struct recovery_options {
    std::string action = "list";
    std::vector<std::string> kept;
    bool yes = false;
    restore_options restore;
};

device_id _device_of(const archive& kept) {
    return {kept.serial, kept.type};
}

json _json_of(const kept_change& one) {
    json told{{"id", one.name()}, {"directory", one.path}, {"device", nullptr}};
    told["stamps"] = json::array();
    told["listed"] = json::array();
    told["fault"] = one.kept ? json(nullptr) : json(one.fault);
    if (!one.kept) return told;
    told["device"] = device_json(_device_of(*one.kept));
    for (const archived_stamp& each : one.kept->stamps) {
        told["stamps"].push_back(
            {{"uuid", each.uuid.empty() ? json(nullptr) : json(to_hex(each.uuid))},
             {"name", each.name},
             {"bytes", each.data.size()},
             {"sha256", sha256(each.data.get())},
             {"picture", picture_json(look_at(each.data.get()))}});
    }
    for (const listed_stamp& each : one.kept->listed) {
        told["listed"].push_back({{"slot", each.slot}, {"name", each.name}});
    }
    return told;
}

template <typename Named>
std::string _joined(const std::vector<Named>& all) {
    std::string names;
    for (const Named& one : all) {
        names += (names.empty() ? "" : ", ") + quoted(one.name);
    }
    return names;
}

std::string _names(const archive& kept) {
    if (!kept.stamps.empty()) return _joined(kept.stamps);
    return kept.listed.empty() ? "-" : "the list alone: " + _joined(kept.listed);
}

void _show_list(context& run, const archive& kept) {
    if (kept.listed.empty()) return;
    run.out.print("The list of stamps was:\n");
    std::vector<std::vector<std::string>> rows{{"SLOT", "NAME"}};
    for (const listed_stamp& one : kept.listed) {
        rows.push_back({std::to_string(one.slot), printable(one.name)});
    }
    run.out.print(table(rows));
}

void _list(context& run) {
    run.result["kept"] = json::array();
    std::vector<std::vector<std::string>> rows{{"ID", "DEVICE", "STAMPS"}};
    for (const kept_change& one : kept_changes()) {
        run.result["kept"].push_back(_json_of(one));
        rows.push_back({printable(one.name()), one.kept ? describe(_device_of(*one.kept)) : "-",
                        one.kept ? _names(*one.kept) : printable("unreadable: " + one.fault)});
    }
    if (rows.size() == 1)
        run.out.note("nothing is kept");
    else
        run.out.print(table(rows));
}

// A unique beginning of the id will do, and so will the path that a message named.
kept_change _select(const std::vector<kept_change>& all, const std::string& wanted) {
    std::vector<kept_change> fitting;
    for (const kept_change& one : all) {
        if (one.name() == wanted || one.path == wanted) return one;
        if (one.name().rfind(wanted, 0) == 0) fitting.push_back(one);
    }
    if (fitting.empty()) {
        throw failure(exit_code::usage, "nothing of the id " + quoted(wanted) + " is kept");
    }
    if (fitting.size() > 1) {
        throw failure(exit_code::usage, quoted(wanted) + " is the beginning of several ids");
    }
    return fitting.front();
}

std::vector<kept_change> _chosen(const recovery_options& options) {
    if (options.kept.empty()) {
        throw failure(exit_code::usage, options.action + " needs an ID; see: vemra-stamp recovery");
    }
    const std::vector<kept_change> all = kept_changes();
    std::vector<kept_change> chosen;
    for (const std::string& wanted : options.kept) {
        const kept_change one = _select(all, wanted);
        const bool is_chosen =
            std::any_of(chosen.begin(), chosen.end(),
                        [&](const kept_change& other) { return other.path == one.path; });
        if (!is_chosen) chosen.push_back(one);
    }
    return chosen;
}

void _show(context& run, const recovery_options& options) {
    run.result["kept"] = json::array();
    for (const kept_change& one : _chosen(options)) {
        run.result["kept"].push_back(_json_of(one));
        run.out.print(one.path + "\n");
        if (!one.kept) {
            run.out.warn(printable(one.fault));
            run.code = exit_code::partial;
            continue;
        }
        run.out.print("of " + describe(_device_of(*one.kept)) + "\n");
        std::vector<std::vector<std::string>> rows{
            {"NAME", "MEDIA TYPE", "BYTES", "PIXELS", "SLOT"}};
        for (const archived_stamp& each : one.kept->stamps) {
            const picture seen = look_at(each.data.get());
            rows.push_back({printable(each.name),
                            seen.media_type + (seen.is_damaged() ? ", damaged" : ""),
                            std::to_string(each.data.size()), seen.pixels(),
                            each.slot == 0 ? "unknown" : std::to_string(each.slot)});
        }
        if (rows.size() > 1) run.out.print(table(rows));
        _show_list(run, *one.kept);
    }
}

void _restore(context& run, const recovery_options& options) {
    restore_options wanted = options.restore;
    for (const kept_change& one : _chosen(options)) {
        wanted.directories.push_back(one.path);
    }
    restore_directories(run, wanted);
}

void _discard(context& run, const recovery_options& options) {
    run.result["discarded"] = json::array();
    const std::vector<kept_change> chosen = _chosen(options);
    std::string question = "Discard for good";
    for (const kept_change& one : chosen) {
        question += "\n  " + one.path;
        if (one.kept) question += ", with " + _names(*one.kept);
    }
    if (!options.yes && !run.user.confirm(question + "\n?", "--yes")) {
        throw failure(exit_code::usage, "nothing was discarded");
    }
    for (const kept_change& one : chosen) {
        discard_kept_change(one.path);
        run.result["discarded"].push_back(one.path);
        run.out.note(one.path + " is discarded");
    }
}

void _recovery(context& run, const recovery_options& options) {
    if (options.action == "show")
        _show(run, options);
    else if (options.action == "restore")
        _restore(run, options);
    else if (options.action == "discard")
        _discard(run, options);
    else
        _list(run);
}

}  // namespace

void add_recovery(CLI::App& program, context& run) {
    auto options = std::make_shared<recovery_options>();
    CLI::App* command =
        program.add_subcommand("recovery",
                               "What devices held before earlier changes: list, show, "
                               "restore or discard it");
    command->add_option("ACTION", options->action, "list (when left out), show, restore, discard")
        ->check(CLI::IsMember({"list", "show", "restore", "discard"}));
    command->add_option("ID", options->kept, "As listed, or a unique beginning of it");
    command->add_flag("--yes", options->yes, "Do not ask before discarding");
    add_restore_options(*command, options->restore);
    command->callback([&run, options] { _recovery(run, *options); });
}

}  // namespace vemra::tool
