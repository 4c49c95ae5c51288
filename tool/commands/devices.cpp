#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "keep/describe.h"
#include "keep/mapping_record.h"
#include "keep/read_locks.h"
#include "terminal/table.h"

namespace vemra::tool {

namespace {

void _describe_device(context& run, const device_id& device,
                      std::vector<std::vector<std::string>>& rows) {
    run.tokens().tell_kept(device);
    json entry = device_json(device);
    entry["stamps"] = nullptr;
    entry["free"] = nullptr;
    std::vector<std::string> row{printable(device.serial), std::to_string(device.type), "-", "-"};
    try {
        const read_locks lock(run.tokens(), {device});
        const std::size_t held = read_mapping(run.tokens(), device).listed_slots().size();
        const std::size_t free = static_cast<std::size_t>(stamp_slots) - held;
        entry["stamps"] = held;
        entry["free"] = free;
        row[2] = std::to_string(held);
        row[3] = std::to_string(free);
        warn_of_errors(run, run.tokens().errors());
    } catch (const failure& error) {
        if (error.code() == exit_code::lock_timeout) throw;
        run.out.warn(error.what());
        run.code = exit_code::partial;
    }
    rows.push_back(row);
    run.result["devices"].push_back(entry);
}

void _devices(context& run) {
    run.result["devices"] = json::array();
    std::vector<std::vector<std::string>> rows{{"SERIAL NUMBER", "TYPE", "STAMPS", "FREE"}};
    const std::vector<device_id> attached = run.tokens().devices();
    warn_of_errors(run, run.tokens().errors());
    for (const device_id& device : attached) {
        _describe_device(run, device, rows);
    }
    run.out.print(table(rows));
}

}  // namespace

void add_devices(CLI::App& program, context& run) {
    CLI::App* command = program.add_subcommand("devices", "List the attached devices");
    add_lock_option(*command, run);
    command->callback([&run] { _devices(run); });
}

}  // namespace vemra::tool
