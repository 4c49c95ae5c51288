#include "library/call_trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace vemra::softtoken::call_trace {

namespace {

int _open_file() noexcept {
    const char* path = std::getenv("VEMRA_SOFTTOKEN_TRACE");
    if (path == nullptr || *path == '\0') return -1;
    int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0) std::fprintf(stderr, "vemra-softtoken: cannot write the trace file %s\n", path);
    return file;
}

int _file() noexcept {
    static const int file = _open_file();
    return file;
}

// Below 0 stands for a number that the call does not have.
std::array<char, 16> _shown(int number) noexcept {
    std::array<char, 16> text{"-"};
    if (number >= 0) std::snprintf(text.data(), text.size(), "%d", number);
    return text;
}

}  // namespace

bool is_on() noexcept {
    return _file() >= 0;
}

void write(const call_facts& facts, int told_length, const char* result,
           long long microseconds) noexcept {
    std::array<char, 256> line{};
    int length = std::snprintf(line.data(), line.size(),
                               "%s slot=%s size=%s length=%s result=%s microseconds=%lld\n",
                               facts.function, _shown(facts.slot).data(), _shown(facts.size).data(),
                               _shown(told_length).data(), result, microseconds);
    // One call appends one whole line, whatever other processes append.
    if (length > 0 && ::write(_file(), line.data(), static_cast<std::size_t>(length)) < 0) return;
}

}  // namespace vemra::softtoken::call_trace
