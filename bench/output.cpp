#include "output.h"

#include <malloc.h>
#include <unistd.h>

#include <fstream>

#include "program.h"

namespace bench {

std::FILE* hide_trace() {
    std::fflush(stdout);
    std::FILE* results = fdopen(dup(STDOUT_FILENO), "w");
    require(results != nullptr && std::freopen("/dev/null", "w", stdout) != nullptr, "/dev/null");
    std::setvbuf(results, nullptr, _IOLBF, BUFSIZ);
    return results;
}

void keep_memory() {
    constexpr int longest_kept = 32 << 20;
    constexpr int most_kept = 1 << 30;
    require(mallopt(M_MMAP_THRESHOLD, longest_kept) == 1, "mallopt");
    require(mallopt(M_TRIM_THRESHOLD, most_kept) == 1, "mallopt");
}

long resident_kib() {
    malloc_trim(0);
    std::ifstream status("/proc/self/statm");
    long total = 0;
    long resident = 0;
    require(static_cast<bool>(status >> total >> resident), "/proc/self/statm");
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

std::string size_text(std::size_t size) {
    constexpr std::size_t mebibyte = 1U << 20;
    if (size % mebibyte == 0) return std::to_string(size / mebibyte) + " MiB";
    return std::to_string(size / 1024) + " KiB";
}

}  // namespace bench
