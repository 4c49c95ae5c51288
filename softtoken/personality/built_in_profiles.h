/** The profiles that come with the software token: the files of softtoken/profiles/. */
#pragma once

#include <vector>

namespace vemra::softtoken {

struct built_in_profile {
    const char* name;
    const char* text; /* the file's */
};

/* Made from the files when the software token is built. */
const std::vector<built_in_profile>& built_in_profiles();

}  // namespace vemra::softtoken
