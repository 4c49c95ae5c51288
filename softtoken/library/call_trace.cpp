#include "library/call_trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "store/harmless_text.h"

namespace vemra::softtoken::call_trace {

namespace {

// Opened for each line: a descriptor that stayed open could be another file's by the next line, in
// a program that closes all of its own. Only a plain file is written to; opening waits for nobody.
int _open_file(const char* path) noexcept {
    int file = open(
        path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600);
    struct stat status {};
    if (file < 0 || (fstat(file, &status) == 0 && S_ISREG(status.st_mode))) return file;
    close(file);
    return -1;
}

// The path as it stays when the program changes its directory; null for none. Never released:
// threads go on while the process exits.
const char* _find_path() noexcept {
    const char* given = secure_getenv("VEMRA_SOFTTOKEN_TRACE");
    if (given == nullptr || *given == '\0') return nullptr;
    int file = _open_file(given);
    if (file < 0) {
        tell("cannot write the trace file ", given);
        return nullptr;
    }
    close(file);
    return realpath(given, nullptr);
}

const char* _path() noexcept {
    static const char* const path = _find_path();
    return path;
}

// Below 0 stands for a number that the call does not have.
std::array<char, 16> _shown(int number) noexcept {
    std::array<char, 16> text{"-"};
    if (number >= 0) std::snprintf(text.data(), text.size(), "%d", number);
    return text;
}

}  // namespace

bool is_on() noexcept {
    return _path() != nullptr;
}

void write(const call_facts& facts, int told_length, const char* result,
           long long microseconds) noexcept {
    std::array<char, 256> line{};
    int length = std::snprintf(line.data(), line.size(),
                               "%s slot=%s size=%s length=%s result=%s microseconds=%lld\n",
                               facts.function, _shown(facts.slot).data(), _shown(facts.size).data(),
                               _shown(told_length).data(), result, microseconds);
    int file = _open_file(_path());
    if (file < 0) return;
    // One call appends one whole line, whatever other processes append.
    if (length > 0)
        static_cast<void>(!::write(file, line.data(), static_cast<std::size_t>(length)));
    close(file);
}

}  // namespace vemra::softtoken::call_trace
