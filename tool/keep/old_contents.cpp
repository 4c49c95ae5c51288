#include "keep/old_contents.h"

#include <algorithm>
#include <utility>

#include "basics/digest.h"
#include "basics/text.h"
#include "keep/pictured_stamp.h"

namespace vemra::tool {

namespace {

std::vector<listed_stamp> _listed(const old_contents& old) {
    std::vector<listed_stamp> listed;
    for (const int slot : old.list.listed_slots()) {
        const auto found = std::find_if(old.stamps.begin(), old.stamps.end(),
                                        [&](const stamp& one) { return one.slot == slot; });
        const bool is_known = found != old.stamps.end() && found->is_readable();
        listed.push_back({slot, old.list.entries.at(static_cast<unsigned int>(slot)),
                          is_known ? sha256(found->data.get()) : ""});
    }
    return listed;
}

}  // namespace

recovery keep_list(session& tokens, const old_contents& old,
                   std::vector<archived_stamp> overwritten) {
    const archive before{old.device.serial, old.device.type, std::move(overwritten), _listed(old)};
    recovery kept(before);
    kept.add("mapping-record", old.list.bytes);
    std::string what = "the old list";
    for (const archived_stamp& one : before.stamps) {
        what += (&one == &before.stamps.front() ? " with the old " : ", ") + quoted(one.name);
    }
    tokens.served().detail(what + " is kept in " + kept.path() + " until the change is verified");
    return kept;
}

recovery keep_all(session& tokens, const old_contents& old) {
    std::vector<archived_stamp> overwritten;
    for (const stamp& one : old.stamps) {
        if (!one.data.empty()) overwritten.push_back(to_archive(look_at(one)));
    }
    return keep_list(tokens, old, std::move(overwritten));
}

}  // namespace vemra::tool
