/** Keeps what a change is about to overwrite, until the outcome is known to be right. */
#pragma once

#include <string>

#include "archive.h"

namespace vemra::tool {

/**
 * A directory that `restore` can read, private to the user, in the user's state directory. It is
 * removed by discard() alone: whatever goes wrong meanwhile, the old stamp is still there.
 */
class recovery {
public:
    explicit recovery(const archive& kept);
    /** One file for bytes that are no stamp, which `restore` cannot read. */
    recovery(const std::string& file, const std::string& bytes);

    const std::string& path() const { return path_; }
    void discard();

private:
    std::string path_;
};

}  // namespace vemra::tool
