#include "keep/backup.h"

#include "basics/failure.h"
#include "basics/text.h"
#include "keep/describe.h"
#include "keep/listing.h"
#include "keep/pictured_stamp.h"
#include "keep/read_locks.h"

namespace vemra::tool {

namespace {

backup _collect(session& tokens, const device_id& device) {
    backup made{{device.serial, device.type, {}}, true};
    const read_locks lock(tokens, {device});
    const held_stamps held = read_held(tokens, {device}, "reading " + describe(device));
    if (!held.unknown.empty()) throw failure(exit_code::failed, held.errors.back());
    for (const std::string& error : held.errors) {
        tokens.served().warn(printable(error));
        made.is_whole = false;
    }
    for (const stamp& one : held.stamps) {
        if (one.data.empty()) {
            tokens.served().warn(one.is_readable()
                                     ? quoted(one.name) + " has no bytes and is left out"
                                     : describe_unreadable(one) + "; it is left out");
            made.is_whole = false;
            continue;
        }
        const pictured_stamp shown = look_at(one);
        if (shown.seen.is_damaged()) {
            tokens.served().warn(quoted(one.name) + " is damaged: " + shown.seen.damage);
        }
        made.kept.stamps.push_back(to_archive(shown, one.slot));
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
