/** Whom stamps are kept for, as a face reaches them: what keep/ asks and tells goes through this.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "command_line/secret.h"
#include "device_module/stamp.h"

namespace vemra::tool {

/** Something that takes time. */
struct work {
    std::string label;
    /** What it moves to and from a device, as far as can be told; 0 when that is not known. */
    std::size_t bytes = 0;
    /** How much of that has moved by now; asked from another thread. May be left out. */
    std::function<std::size_t()> moved{};
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
    /** Whether anybody sees what is shown, so that it is worth a question to a device. */
    virtual bool watches() const = 0;
    /** Works that move so many bytes are to come: they are part of what is left from now on. */
    virtual void expect(std::size_t bytes) = 0;
    /** May return nothing. Nothing else is told or asked while it lives. */
    virtual std::unique_ptr<shown_work> show(const work& what) = 0;
};

}  // namespace vemra::tool
