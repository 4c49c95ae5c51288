#include "keep/backup.h"

#include "basics/text.h"
#include "keep/describe.h"
#include "keep/mapping_record.h"
#include "keep/pictured_stamp.h"
#include "keep/read_locks.h"

namespace vemra::tool {

namespace {

std::vector<stamp> _read(session& tokens, const device_id& device) {
    const auto shown = tokens.served().show({"reading " + describe(device)});
    return tokens.stamps(device).stamps;
}

backup _collect(session& tokens, const device_id& device) {
    backup made{{device.serial, device.type, {}}, true};
    const read_locks lock(tokens, {device});
    const std::vector<stamp> stamps = _read(tokens, device);
    for (const std::string& error : tokens.errors()) {
        tokens.served().warn(printable(error));
        made.is_whole = false;
    }
    const std::vector<int> slots = read_mapping(tokens, device).listed_slots();
    for (std::size_t i = 0; i < stamps.size(); ++i) {
        const stamp& one = stamps[i];
        if (one.data.empty()) {
            tokens.served().warn(quoted(one.name) + " has no bytes and is left out");
            made.is_whole = false;
            continue;
        }
        const int slot = slots.size() == stamps.size() ? slots[i] : 0;
        made.kept.stamps.push_back(to_archive(look_at(one), slot));
    }
    return made;
}

}  // namespace

backup write_backup(session& tokens, const device_id& device, const std::string& directory) {
    backup made = _collect(tokens, device);
    write_archive(directory, made.kept);
    return made;
}

}  // namespace vemra::tool
