#include "keep/repair.h"

#include "basics/failure.h"
#include "keep/authorised_change.h"
#include "keep/describe.h"

namespace vemra::tool {

std::vector<finding> repair_device(session& tokens, const device_id& id,
                                   const device_contents& contents, const repair_plan& plan) {
    authorised_change change = authorise(tokens, id, [&](const locked_device& device) {
        if (check_device(device).holds_the_same(contents)) return;
        throw failure(exit_code::failed, "another run has changed " + describe(id) +
                                             " since the repair was planned; nothing was changed");
    });
    change.write_list(contents.record, plan.list);
    return check_device(change.device()).findings;
}

}  // namespace vemra::tool
