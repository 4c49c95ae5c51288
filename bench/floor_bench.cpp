// Measures every operation beside its floor, over whatever device library is loaded.
//
//     floor_bench NAME SECONDS FOLDER
//
// NAME is the device library's, for the table. About SECONDS go into each row. FOLDER receives
// NAME.samples with all samples and NAME.ratios with the rows of the table: operation, bytes,
// ratio, microseconds of the library, of the floor. Tab-separated.

#include <cstdlib>
#include <fstream>

#include "operations.h"
#include "output.h"
#include "sampling.h"

namespace {

constexpr std::size_t sizes[] = {4U << 10, 64U << 10, 1U << 20, 16U << 20};
constexpr std::size_t least_pairs = 21;

struct result_files {
    std::FILE* table;
    std::ofstream samples;
    std::ofstream ratios;
};

void _report(const char* operation, std::size_t size, const std::vector<bench::sample_pair>& pairs,
             result_files& files) {
    bench::write_samples(files.samples, operation, std::to_string(size), pairs);
    const double ratio = bench::median_ratio(pairs);
    const bench::sample_pair typical = bench::medians(pairs);
    files.ratios << operation << '\t' << size << '\t' << ratio << '\t' << typical.library << '\t'
                 << typical.floor << '\n';
    std::fprintf(files.table, "%-14s %8s %12.2f %12.2f %7.3f %7zu\n", operation,
                 bench::size_text(size).c_str(), typical.library, typical.floor, ratio,
                 pairs.size());
}

void _measure(std::size_t size, double seconds, result_files& files) {
    bench::fill_devices(1, size);
    const auto library = bench::make_library_program();
    const auto floor = bench::make_floor_program();
    for (const bench::operation& measured : bench::operations_on_stamps_of(size)) {
        const auto pairs = bench::sample_in_turn(
            [&](int count) { return measured.run(*library, count); },
            [&](int count) { return measured.run(*floor, count); }, seconds, least_pairs);
        _report(measured.name, size, pairs, files);
    }
}

}  // namespace

int main(int argc, char** argv) {
    bench::require(argc == 4, "usage: floor_bench NAME SECONDS FOLDER");
    const std::string name = argv[1];
    const double seconds = std::strtod(argv[2], nullptr);
    const std::string base = std::string(argv[3]) + "/" + name;
    result_files files{bench::hide_trace(), std::ofstream(base + ".samples"),
                       std::ofstream(base + ".ratios")};
    std::fprintf(files.table, "%s, one device with %d stamps; microseconds, medians\n",
                 name.c_str(), bench::stamps_per_device);
    std::fprintf(files.table, "%-14s %8s %12s %12s %7s %7s\n", "operation", "size", "library",
                 "floor", "ratio", "pairs");
    for (const std::size_t size : sizes)
        _measure(size, seconds, files);
    bench::require(files.samples.good() && files.ratios.good(), "cannot write the results");
    return 0;
}
