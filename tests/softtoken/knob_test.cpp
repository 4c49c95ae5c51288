#include "knob_test.h"

#include <algorithm>

#include "personality/profile_text.h"
#include "store/fault_file.h"
#include "store/plug.h"
#include "store/token_database.h"
#include "store/token_files.h"

namespace softtoken_test {

using namespace vemra::softtoken;

void knob_test::turn(std::initializer_list<std::pair<const char*, const char*>> knobs) const {
    personality turned;
    for (const auto& [name, word] : knobs)
        set_knob(turned, name, word);
    settings_lock lock(directory("one"));
    token_database database(database_path(directory("one")));
    transaction changing(database);
    database.set_behaviour(turned);
    changing.commit();
    note_changed_settings(directory("one"));
}

int knob_test::read(int id, int buffer_size, std::string& bytes) const {
    bytes.assign(static_cast<std::size_t>(buffer_size), '?');
    int length = 0;
    int result = VemraPKICryptoReadData(
        device(), id, reinterpret_cast<unsigned char*>(bytes.data()), buffer_size, &length);
    bytes.resize(static_cast<std::size_t>(std::clamp(length, 0, buffer_size)));
    return result;
}

int knob_test::told_length(int id) const {
    int length = -1;
    int result = slot_length(device(), id, length);
    return result == 1 ? length : result;
}

}  // namespace softtoken_test
