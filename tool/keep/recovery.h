/** Keeps what a change is about to overwrite, until the outcome is known to be right. */
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "command_line/descriptor.h"
#include "files/archive.h"

namespace vemra::tool {

/**
 * A directory that `restore` can read, private to the user, in the user's state directory. It is
 * removed by discard() alone: whatever goes wrong meanwhile, the old stamp is still there.
 */
class recovery {
public:
    /* Both throw failure (failed) when there is no place for it; nothing may be changed then, and
     * nothing is left of the directory. */

    explicit recovery(const archive& kept);
    /** One more file, for bytes that are no stamp; `restore` does not read it. */
    void add(const std::string& file, const std::string& bytes);

    const std::string& path() const { return path_; }
    /** Removes it: the change turned out right. */
    void discard();

private:
    void fill(const std::function<void()>& written);

    std::string path_;
    /** Locked while the change is under way, so that other runs do not take it for left behind. */
    descriptor in_use_;
};

/** What an earlier change left behind. */
struct kept_change {
    std::string path;
    /** Nothing when it cannot be read. */
    std::optional<archive> kept;
    /** Why it cannot be read. */
    std::string fault;

    /** The last part of the path. */
    std::string name() const;
};

/** All of them, the oldest first. Those of changes that are under way are not told. */
std::vector<kept_change> kept_changes();

/** Whether `restore` reads there what a change left behind, however the path is written. */
bool is_kept_change(const std::string& directory);

/** Removes one; throws failure (failed) when something of it is left. */
void discard_kept_change(const std::string& path);

}  // namespace vemra::tool
