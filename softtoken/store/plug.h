/** Whether a token is plugged in: a small file in its directory says so. */
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace vemra::softtoken {

/*
 * One plugging-in. Each has a moment of its own, so that pulling a token out is noticed afterwards.
 * The file's access time, which nothing else changes, tells when the token's limits or faults were
 * last set: processes look at the file before each call and so notice that at no cost.
 */
struct plug {
    dev_t device = 0;
    ino_t inode = 0;
    timespec moment{};
    timespec settings{};

    bool same_settings(const plug& other) const {
        return settings.tv_sec == other.settings.tv_sec &&
               settings.tv_nsec == other.settings.tv_nsec;
    }
    /* Its moment. */
    std::int64_t nanoseconds() const {
        return std::int64_t{moment.tv_sec} * 1'000'000'000 + moment.tv_nsec;
    }
    /* The same plugging-in, whatever the settings. */
    bool operator==(const plug& other) const {
        return device == other.device && inode == other.inode &&
               moment.tv_sec == other.moment.tv_sec && moment.tv_nsec == other.moment.tv_nsec;
    }
};

/* The file that says so. */
std::string plug_path(const std::string& token_directory);

/* Nothing when the token is unplugged or gone. */
std::optional<plug> find_plug(const std::string& path_of_plug);

/* Both leave alone what is so already, and are durable when they return. */
void plug_in(const std::string& token_directory);
void pull_out(const std::string& token_directory);

/* Lets processes that use the token read its limits and faults again. */
void note_changed_settings(const std::string& token_directory);

}  // namespace vemra::softtoken
