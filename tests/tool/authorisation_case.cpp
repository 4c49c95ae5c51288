// A command that writes, once as it should be and in all the ways in which one could forget to have
// the password verified. CASE chooses; authorisation_test.py compiles them.

#include <utility>

#include "keep/authorised_change.h"

namespace vemra::tool {

void write(session& tokens, const device_id& id, const stamp& one) {
    locked_device device(tokens, id);
#if CASE == 0
    authorised_change change = authorise(std::move(device));
    change.remove(one);
#elif CASE == 1
    device.remove(one);
#elif CASE == 2
    authorised_change change(std::move(device), 1);
    change.remove(one);
#elif CASE == 3
    tokens.ask([&](token_reader& all) { return all.remove(one.uuid, ""); });
#elif CASE == 4
    tokens.make([&](auto& all, const char* password) { return all.remove(one.uuid, password); });
#elif CASE == 5
    tokens.call([&](auto& all) { all.remove(one.uuid, ""); });
#endif
}

}  // namespace vemra::tool
