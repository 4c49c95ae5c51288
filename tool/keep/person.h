/** Whom stamps are kept for, as a face reaches them: what keep/ asks and tells goes through this.
 */
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "command_line/secret.h"
#include "device_module/stamp.h"

namespace vemra::tool {

/** Something that takes time. Without steps only the time is known. */
struct work {
    std::string label;
    std::size_t finished = 0;
    std::size_t steps = 0;
};

/** Shows a work until it is destroyed. */
class shown_work {
public:
    virtual ~shown_work() = default;
};

/** Given by a face, which outlives the session that uses it. */
class person {
public:
    virtual ~person() = default;

    /**
     * Puts the password for a device into `password`, which holds the one for an earlier device of
     * this run, or nothing. Throws failure (usage) when there is nowhere to get one.
     */
    virtual void give_password(const device_id& device, secret& password) = 0;
    /** After a wrong one, while attempts are left: whether to ask again. */
    virtual bool try_again(int attempts_left) = 0;

    /** What they should know although it stops nothing. */
    virtual void warn(const std::string& text) = 0;
    /** What only the curious want to know. */
    virtual void detail(const std::string& text) = 0;
    /** May return nothing. Nothing else is told or asked while it lives. */
    virtual std::unique_ptr<shown_work> show(const work& what) = 0;
};

}  // namespace vemra::tool
