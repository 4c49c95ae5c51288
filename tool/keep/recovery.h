/** Keeps what a change is about to overwrite, until the outcome is known to be right. */
#pragma once

#include <string>

#include "files/archive.h"

namespace vemra::tool {

/**
 * A directory that `restore` can read, private to the user, in the user's state directory. It is
 * removed by discard() alone: whatever goes wrong meanwhile, the old stamp is still there.
 */
class recovery {
public:
    /** Throws failure (failed) when there is no place for it; nothing may be changed then. */
    explicit recovery(const archive& kept);
    /** One more file, for bytes that are no stamp; `restore` does not read it. */
    void add(const std::string& file, const std::string& bytes) const;

    const std::string& path() const { return path_; }
    /** Removes it: the change turned out right. */
    void discard();

private:
    std::string path_;
};

}  // namespace vemra::tool
