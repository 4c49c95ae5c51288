#include "base/bounded.h"

#include <cstdio>
#include <cstring>

namespace qo::base {

namespace {

void _default_assert_hook(const char* condition, const char* file, unsigned int line) {
    std::fprintf(stderr, "Assertion failed: %s, at file: \"%s\", line: %d", condition, file,
                 static_cast<int>(line));
}

assert_hook_t assert_hook = _default_assert_hook;

void _check(bool holds, const char* condition, const char* file, unsigned long line) {
    if (!holds) assert_hook(condition, file, static_cast<unsigned int>(line));
}

}  // namespace

void set_assert_hook(assert_hook_t hook) {
    if (hook != nullptr) assert_hook = hook;
}

void __memcpy_s(const char* file, unsigned long line, void* dest, std::size_t dest_size,
                const void* src, std::size_t src_size) {
    const bool has_both = dest != nullptr && src != nullptr;
    _check(has_both, "(dest != __null) && (src != __null)", file, line);
    _check(dest_size >= src_size, "dest_size >= src_size", file, line);
    if (has_both) std::memcpy(dest, src, src_size);
}

int __vsprintf_s(const char* file, unsigned long line, char* dest, std::size_t dest_size,
                 const char* format, va_list arguments) {
    _check(dest != nullptr, "dest != __null", file, line);
    _check(dest_size > 0, "dest_size > 0", file, line);
    _check(format != nullptr, "format != __null", file, line);
    const int sprintfed_size = std::vsnprintf(dest, dest_size, format, arguments);
    _check(sprintfed_size >= 1, "sprintfed_size > 0", file, line);
    // Kept(negative-size): a negative result counts as a huge size and violates this one too.
    _check(dest_size >= static_cast<std::size_t>(sprintfed_size),
           "dest_size >= (size_t)sprintfed_size", file, line);
    return sprintfed_size;
}

int __sprintf_s(const char* file, unsigned long line, char* dest, std::size_t dest_size,
                const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int sprintfed_size = __vsprintf_s(file, line, dest, dest_size, format, arguments);
    va_end(arguments);
    return sprintfed_size;
}

int __sscanf_s(const char* file, unsigned long line, const char* buffer, const char* format, ...) {
    _check(buffer != nullptr, "buffer != __null", file, line);
    _check(format != nullptr, "format != __null", file, line);
    va_list arguments;
    va_start(arguments, format);
    const int converted = std::vsscanf(buffer, format, arguments);
    va_end(arguments);
    return converted;
}

std::size_t __strcpy_s(const char* file, unsigned long line, char* dest, std::size_t dest_size,
                       const char* src) {
    _check(dest != nullptr && src != nullptr, "(dest != __null) && (src != __null)", file, line);
    _check(dest_size > 0, "dest_size > 0", file, line);
    // NOLINTBEGIN(clang-analyzer-*): unbounded, and used when null, by contract.
    const std::size_t src_size = std::strlen(src) + 1;
    _check(dest_size >= src_size, "dest_size >= src_size", file, line);
    std::strcpy(dest, src);
    // NOLINTEND(clang-analyzer-*)
    return src_size;
}

// NOLINTNEXTLINE(readability-non-const-parameter): a deleter.
void _delete_array(unsigned char* p) {
    delete[] p;
}

}  // namespace qo::base
