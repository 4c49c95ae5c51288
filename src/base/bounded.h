#pragma once

#include <cstdarg>
#include <cstddef>

/**
 * The bounded copy with the caller's own position for the assertion hook. The build defines
 * VEMRA_SOURCE_FILE: the source's path from the root of the project.
 */
#define VEMRA_MEMCPY_S(dest, dest_size, src, src_size) \
    qo::base::__memcpy_s(VEMRA_SOURCE_FILE, __LINE__, dest, dest_size, src, src_size)

namespace qo::base {

/** Told of a violated condition: its text, and the file and line of the caller. */
using assert_hook_t = void (*)(const char* condition, const char* file, unsigned int line);

/**
 * Replaces the hook for the whole process; null is ignored. The first hook prints to standard
 * error. Not synchronised: set it before threads start.
 */
void set_assert_hook(assert_hook_t hook);

/*
 * Bounded copies and prints. `file` and `line` are the caller's, for the hook. Each tells the
 * hook of every condition that does not hold, in order. Sizes are in bytes.
 *
 * Kept(carries-on): then it carries on regardless. The sizes are checked, not enforced, unless a
 * comment says otherwise; null pointers are reported and then used, except by __memcpy_s.
 */

/** Copies `src_size` bytes. Copies nothing when `dest` or `src` is null. */
void __memcpy_s(const char* file, unsigned long line, void* dest, std::size_t dest_size,
                const void* src, std::size_t src_size);

/** vsnprintf into `dest`, cut at `dest_size`; returns its result. */
int __vsprintf_s(const char* file, unsigned long line, char* dest, std::size_t dest_size,
                 const char* format, va_list arguments) __attribute__((format(printf, 5, 0)));

/** snprintf into `dest`, cut at `dest_size`; returns its result. */
int __sprintf_s(const char* file, unsigned long line, char* dest, std::size_t dest_size,
                const char* format, ...) __attribute__((format(printf, 5, 6)));

/** sscanf over `buffer`; returns its result. */
int __sscanf_s(const char* file, unsigned long line, const char* buffer, const char* format, ...)
    __attribute__((format(scanf, 4, 5)));

/** Copies the text with its NUL; returns the bytes copied. */
std::size_t __strcpy_s(const char* file, unsigned long line, char* dest, std::size_t dest_size,
                       const char* src);

/** Releases an array made with new[]; null is ignored. */
void _delete_array(unsigned char* p);

}  // namespace qo::base
