#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "base/thread_safe_object.h"
#include "vemra_crypto_cpp/free_handle.h"

namespace vemra::crypto {

/**
 * An object over a handle of the device library, which it shares the ownership of.
 *
 * Handle is the library's pointer type. The owner is made with the library's free function for
 * that type as deleter; it is called exactly once, for a null handle too.
 */
template <typename Handle>
class basic_object : public qo::base::thread_safe_object {
public:
    using owner_t = std::shared_ptr<std::remove_pointer_t<Handle>>;

    /** Makes the owner of a raw handle; the handle is freed at once when memory fails. */
    static owner_t own(Handle h) {
        return owner_t(h, [](Handle handle) { free_handle(handle); });
    }

    virtual ~basic_object() = default;

    /** Reads what belongs to the object from the library. Does nothing here. */
    virtual void load() {}

    /** The raw handle, borrowed; null when there is none. */
    Handle get_handle() const { return handle_.get(); }

protected:
    explicit basic_object(owner_t handle) : handle_(std::move(handle)) {}

private:
    owner_t handle_;
};

}  // namespace vemra::crypto
