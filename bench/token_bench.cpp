// Times the software token as an application meets it, through the stamp library.
//
//     token_bench FOLDER        measures; expects 16 empty tokens "BENCH-0001" and so on, of type 1
//                               and with login "none", in VEMRA_SOFTTOKEN_DIR
//     token_bench --read        lists and takes every stamp once, writes the moment as a double to
//                               its standard input, which is a pipe, and ends
//
// FOLDER receives token.rows: operation, bytes in a stamp, microseconds, for reading warm also
// those of the floor and the ratio; and the memory gained by enumerating unchanged tokens.
// token.samples receives all samples. Tab-separated.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "operations.h"
#include "output.h"

namespace {

constexpr int devices = 16;
constexpr std::size_t sizes[] = {4U << 10, 64U << 10, 256U << 10};
constexpr std::size_t least_samples = 15;
constexpr double seconds_for_each = 2;
constexpr int enumerations = 100000;
// Open before any file is, so that no token can be meant by mistake.
constexpr int report_descriptor = STDIN_FILENO;

struct results {
    std::FILE* table;
    std::ofstream rows;
    std::ofstream samples;

    void add(const char* operation, std::size_t size, const std::vector<double>& times) {
        const double time = bench::median(times);
        for (const double each : times)
            samples << operation << '\t' << size << '\t' << each << '\n';
        std::fprintf(table, "%-26s %8s %12.1f\n", operation, bench::size_text(size).c_str(), time);
        rows << operation << '\t' << size << '\t' << time << '\n';
    }

    void add(const char* operation, std::size_t size,
             const std::vector<bench::sample_pair>& pairs) {
        const bench::sample_pair typical = bench::medians(pairs);
        const double ratio = bench::median_ratio(pairs);
        bench::write_samples(samples, operation, std::to_string(size), pairs);
        std::fprintf(table, "%-26s %8s %12.1f %12.1f %7.3f\n", operation,
                     bench::size_text(size).c_str(), typical.library, typical.floor, ratio);
        rows << operation << '\t' << size << '\t' << typical.library << '\t' << typical.floor
             << '\t' << ratio << '\n';
    }
};

template <typename Work>
std::vector<double> _times(const Work& work) {
    work();
    std::vector<double> times;
    const double end = bench::now() + seconds_for_each * 1e6;
    while (times.size() < least_samples || bench::now() < end)
        times.push_back(work());
    return times;
}

template <typename Work>
double _time(const Work& work) {
    const double begin = bench::now();
    work();
    return bench::now() - begin;
}

struct process_time {
    double to_last_byte;
    double to_end;
};

// This program again; it inherits the /dev/null that is our standard output.
pid_t _spawn_reader(int report) {
    char program[] = "token_bench";
    char mode[] = "--read";
    char* arguments[] = {program, mode, nullptr};
    pid_t child = 0;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, report, report_descriptor);
    bench::require(
        posix_spawn(&child, "/proc/self/exe", &actions, nullptr, arguments, environ) == 0, "spawn");
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

process_time _read_in_new_process() {
    int ends[2];
    bench::require(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    const double begin = bench::now();
    const pid_t child = _spawn_reader(ends[1]);
    int status = 0;
    bench::require(waitpid(child, &status, 0) == child && status == 0, "the new process failed");
    const double end = bench::now();
    double last_byte = 0;
    bench::require(read(ends[0], &last_byte, sizeof(last_byte)) == sizeof(last_byte), "report");
    close(ends[0]);
    close(ends[1]);
    return {last_byte - begin, end - begin};
}

void _report_last_byte() {
    const double moment = bench::now();
    bench::require(write(report_descriptor, &moment, sizeof(moment)) == sizeof(moment), "report");
}

void _measure(std::size_t size, results& found) {
    bench::fill_devices(devices, size);
    const auto library = bench::make_library_program();
    const auto floor = bench::make_floor_program();
    const bench::picture stored("Seal 5", size, 5);

    found.add("read all, warm", size,
              bench::sample_in_turn(bench::timed_listing(*library), bench::timed_listing(*floor),
                                    seconds_for_each, least_samples));
    std::vector<double> whole;
    found.add("new process, to last byte", size, _times([&] {
                  const process_time taken = _read_in_new_process();
                  whole.push_back(taken.to_end);
                  return taken.to_last_byte;
              }));
    found.add("new process, to its end", size, whole);
    found.add("append, login off", size, _times([&] {
                  library->remove();
                  return _time([&] { library->append(stored); });
              }));
}

void _enumerate_unchanged(results& found) {
    const auto enumerate = [] {
        VemraAppStampFreeStamps(
            VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_RESERVED, nullptr, 0, -1));
    };
    for (int i = 0; i < 1000; ++i)
        enumerate();
    const long before = bench::resident_kib();
    const double begin = bench::now();
    for (int i = 0; i < enumerations; ++i)
        enumerate();
    const double each = (bench::now() - begin) / enumerations;
    const long gained = bench::resident_kib() - before;
    std::fprintf(found.table, "%d enumerations of %d unchanged tokens: %.1f each, %ld KiB gained\n",
                 enumerations, devices, each, gained);
    found.rows << "enumerations of unchanged tokens gain\t" << enumerations << '\t' << gained
               << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    bench::require(argc == 2, "usage: token_bench FOLDER");
    if (std::strcmp(argv[1], "--read") == 0) {
        bench::list_and_take_once();
        _report_last_byte();
        return 0;
    }
    bench::keep_memory();
    const std::string base = std::string(argv[1]) + "/token";
    results found{bench::hide_trace(), std::ofstream(base + ".rows"),
                  std::ofstream(base + ".samples")};
    std::fprintf(found.table, "software token, %d devices with %d stamps; microseconds, medians\n",
                 devices, bench::stamps_per_device);
    std::fprintf(found.table, "%-26s %8s %12s %12s %7s\n", "operation", "size", "library", "floor",
                 "ratio");
    for (const std::size_t size : sizes)
        _measure(size, found);
    _enumerate_unchanged(found);
    bench::require(found.rows.good() && found.samples.good(), "cannot write the results");
    return 0;
}
