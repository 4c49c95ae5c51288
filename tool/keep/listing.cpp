#include "keep/listing.h"

#include <utility>

#include "basics/failure.h"
#include "basics/text.h"
#include "keep/describe.h"
#include "keep/mapping_record.h"
#include "keep/read_locks.h"

namespace vemra::tool {

namespace {

// Errors of an enumeration may be those of another device.
bool _is_whole(session& tokens, const device_id& device, const stamp_list& list) {
    const mapping_record record = read_mapping(tokens, device);
    return record.faults.empty() && record.listed_slots().size() == list.stamps.size();
}

}  // namespace

stamp_list list_stamps(session& tokens, const device_choice& choice) {
    const std::vector<device_id> meant =
        choice.is_open() ? tokens.devices() : std::vector<device_id>{tokens.find_device(choice)};
    const read_locks locks(tokens, meant);
    const auto shown = tokens.served().show({"reading stamps"});
    if (meant.size() == 1) return tokens.stamps(meant.front());
    return tokens.stamps();
}

std::vector<stamp> stamps_for_selection(session& tokens) {
    stamp_list list = list_stamps(tokens);
    for (const std::string& error : tokens.errors()) {
        tokens.served().warn(printable(error));
    }
    return std::move(list.stamps);
}

std::vector<stamp> whole_list(session& tokens, const device_id& device) {
    stamp_list list = tokens.stamps(device);
    if (list.unreadable == 0 && tokens.errors().empty()) return std::move(list.stamps);
    const std::string found = tokens.cause();
    if (list.unreadable == 0 && _is_whole(tokens, device, list)) return std::move(list.stamps);
    throw failure(exit_code::failed,
                  "the stamps of " + describe(device) + " cannot all be read: " + found +
                      "\nSee: vemra-stamp check",
                  {found});
}

}  // namespace vemra::tool
