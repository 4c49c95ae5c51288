/** Whether a token is plugged in: a small file in its directory says so. */
#pragma once

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>

namespace vemra::softtoken {

/* One plugging-in. Each has a state of its own, so that pulling a token out is noticed afterwards.
 */
struct plug {
    dev_t device = 0;
    ino_t inode = 0;
    timespec moment{};

    bool operator==(const plug& other) const {
        return device == other.device && inode == other.inode &&
               moment.tv_sec == other.moment.tv_sec && moment.tv_nsec == other.moment.tv_nsec;
    }
};

std::string plug_path(const std::string& token_directory);

/* Nothing when the token is unplugged or gone. */
std::optional<plug> find_plug(const std::string& path_of_plug);

/* Both leave alone what is so already, and are durable when they return. */
void plug_in(const std::string& token_directory);
void pull_out(const std::string& token_directory);

}  // namespace vemra::softtoken
