#include "support/stream_capture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <regex>
#include <sstream>

namespace {

[[noreturn]] void _give_up(const char* what) {
    std::perror(what);
    std::abort();
}

int _checked(int result, const char* what) {
    if (result == -1) _give_up(what);
    return result;
}

}  // namespace

stream_capture::stream_capture(std::FILE* stream)
    : stream_(stream),
      file_(_checked(memfd_create("captured", MFD_CLOEXEC), "memfd_create")),
      saved_(_checked(dup(fileno(stream)), "dup")) {
    std::fflush(stream_);
    _checked(dup2(file_, fileno(stream_)), "dup2");
}

stream_capture::~stream_capture() {
    std::fflush(stream_);
    dup2(saved_, fileno(stream_));
    close(saved_);
    close(file_);
}

std::string stream_capture::text() const {
    std::fflush(stream_);
    std::string result;
    std::array<char, 65536> part;
    for (;;) {
        const ssize_t got =
            pread(file_, part.data(), part.size(), static_cast<off_t>(result.size()));
        if (got < 0) _give_up("pread");
        if (got == 0) return result;
        result.append(part.data(), static_cast<std::size_t>(got));
    }
}

std::vector<std::string> stream_capture::lines() const {
    std::vector<std::string> result;
    std::istringstream all(text());
    for (std::string line; std::getline(all, line);)
        result.push_back(line);
    return result;
}

std::vector<std::string> stream_capture::normalised() const {
    std::vector<std::string> result = lines();
    for (std::string& line : result)
        line = normalised_line(line);
    return result;
}

std::vector<std::string> stream_capture::error_lines() const {
    std::vector<std::string> result;
    for (const std::string& line : normalised()) {
        if (line.rfind(" [ERROR] ", 0) == 0) result.push_back(line);
    }
    return result;
}

void stream_capture::clear() {
    std::fflush(stream_);
    _checked(ftruncate(file_, 0), "ftruncate");
    _checked(static_cast<int>(lseek(file_, 0, SEEK_SET)), "lseek");
}

std::string normalised_line(const std::string& line) {
    static const std::regex source_line(R"((\.cpp):\d+\)$)");
    static const std::regex address(R"(\b0x[0-9a-f]+\b)");
    return std::regex_replace(std::regex_replace(line, source_line, "$1:N)"), address, "PTR");
}
