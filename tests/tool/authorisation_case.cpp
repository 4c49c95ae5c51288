// A command that writes, once as it should be and in all the ways in which one could forget to have
// the password verified. CASE chooses; authorisation_test.py compiles them.

#include "keep/authorised_change.h"

namespace vemra::tool {

void write(session& tokens, const device_id& id, const stamp& one) {
#if CASE == 0
    authorised_change change = authorise(tokens, id, [](locked_device&) {});
    change.remove(one);
#elif CASE == 1
    locked_device device(tokens, id);
    device.remove(one);
#elif CASE == 2
    authorised_change change(locked_device(tokens, id), verification::everything);
    change.remove(one);
#elif CASE == 3
    tokens.ask([&](token_reader& all) { return all.remove(one.uuid, ""); });
#elif CASE == 4
    tokens.make(id,
                [&](auto& all, const char* password) { return all.remove(one.uuid, password); });
#elif CASE == 5
    tokens.call([&](auto& all) { all.remove(one.uuid, ""); }, id);
#endif
}

}  // namespace vemra::tool
