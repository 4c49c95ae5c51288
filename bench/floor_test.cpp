// Holds the floor to its promise: for each operation it makes the same device calls as the library,
// in the same order, and prints the same trace but for the addresses in it.

#include <sys/mman.h>
#include <unistd.h>

#include <regex>

#include "memory_device.h"
#include "operations.h"

namespace {

constexpr std::size_t size = 20000;

struct observed {
    std::string calls;
    std::string trace;
};

std::string _without_addresses(const std::string& trace) {
    static const std::regex address("0x[0-9a-f]+|\\(nil\\)");
    return std::regex_replace(trace, address, "ADDRESS");
}

observed _observe(const bench::operation& measured, bench::program& done_by) {
    observed seen;
    std::fflush(stdout);
    const int file = memfd_create("trace", 0);
    const int saved = dup(STDOUT_FILENO);
    bench::require(file >= 0 && saved >= 0 && dup2(file, STDOUT_FILENO) >= 0, "cannot capture");
    memory_device_note_calls(&seen.calls);
    measured.run(done_by, 1);
    memory_device_note_calls(nullptr);
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);

    std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
    const ssize_t got = pread(file, text.data(), text.size(), 0);
    bench::require(got == static_cast<ssize_t>(text.size()), "cannot read the trace");
    close(file);
    seen.trace = _without_addresses(text);
    return seen;
}

int _compare(const char* operation, const char* what, const std::string& library,
             const std::string& floor) {
    const bool is_same = library == floor && !library.empty();
    std::fprintf(stderr, "%s: %s %s\n", operation, what, is_same ? "agree" : "DIFFER");
    if (is_same) return 0;
    std::fprintf(stderr, "--- library\n%s--- floor\n%s", library.c_str(), floor.c_str());
    return 1;
}

}  // namespace

int main() {
    memory_device_attach(2);
    bench::fill_devices(2, size);
    const auto library = bench::make_library_program();
    const auto floor = bench::make_floor_program();
    int differences = 0;
    for (const bench::operation& measured : bench::operations_on_stamps_of(size)) {
        const observed by_library = _observe(measured, *library);
        const observed by_floor = _observe(measured, *floor);
        const bool calls_devices = by_library.calls != by_floor.calls || !by_library.calls.empty();
        if (calls_devices) {
            differences +=
                _compare(measured.name, "device calls", by_library.calls, by_floor.calls);
        }
        differences += _compare(measured.name, "traces", by_library.trace, by_floor.trace);
    }
    return differences == 0 ? 0 : 1;
}
