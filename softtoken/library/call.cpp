#include "library/call.h"

namespace vemra::softtoken {

namespace {

// Needs no destructor, so it can be used while the thread or the process is ending.
thread_local int _last_error = static_cast<int>(error_code::success);

}  // namespace

int last_error() noexcept {
    return _last_error;
}

int fail(error_code code) noexcept {
    _last_error = static_cast<int>(code);
    return _last_error;
}

int fail_with_current_exception() noexcept {
    try {
        throw;
    } catch (const failure& error) {
        return fail(error.code());
    } catch (const std::bad_alloc&) {
        return fail(error_code::out_of_memory);
    } catch (...) {
        return fail(error_code::internal);
    }
}

}  // namespace vemra::softtoken
