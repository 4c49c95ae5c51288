#include "output.h"

#include <unistd.h>

#include "program.h"

namespace bench {

std::FILE* hide_trace() {
    std::fflush(stdout);
    std::FILE* results = fdopen(dup(STDOUT_FILENO), "w");
    require(results != nullptr && std::freopen("/dev/null", "w", stdout) != nullptr, "/dev/null");
    std::setvbuf(results, nullptr, _IOLBF, BUFSIZ);
    return results;
}

std::string size_text(std::size_t size) {
    constexpr std::size_t mebibyte = 1U << 20;
    if (size % mebibyte == 0) return std::to_string(size / mebibyte) + " MiB";
    return std::to_string(size / 1024) + " KiB";
}

}  // namespace bench
