#include "base/format.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace qo::base {

namespace {

constexpr const char* no_memory = "Unable to allocate memory to format the string.";

}  // namespace

int _get_need_buffer_size(const char* fmt, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    const int size = std::vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    return size;
}

std::string format(const char* fmt, va_list arguments) {
    const int needed = _get_need_buffer_size(fmt, arguments);
    // Taken as a size, it would be more memory than there is: the same is told.
    if (needed < 0) return no_memory;

    const auto size = static_cast<std::size_t>(needed);
    const std::unique_ptr<char, void (*)(void*)> buffer(static_cast<char*>(std::malloc(size)),
                                                        std::free);
    if (buffer == nullptr) return no_memory;

    // Kept(format-nul): the limit has no room for the NUL, so it takes the last character's place.
    std::vsnprintf(buffer.get(), size, fmt, arguments);
    return std::string(buffer.get(), size);
}

std::string format(const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    std::string text = format(fmt, arguments);
    va_end(arguments);
    return text;
}

}  // namespace qo::base
