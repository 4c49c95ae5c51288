#include "support/fake_device_library.h"
#include "sweep/tokens.h"

std::vector<token> make_tokens(int count) {
    static int type = 0;
    fake_device_library fake;
    std::vector<token> result;
    for (int i = 0; i < count; ++i) {
        ++type;
        result.push_back({"T-" + std::to_string(type), type});
        fake.add_device(result.back().serial, type);
    }
    return result;
}

// The fake keeps its devices in memory.
std::string unsound_files() {
    return {};
}
