#include "sampling.h"

#include <algorithm>
#include <random>

namespace bench {

namespace {

constexpr double shortest_sample = 300;
constexpr int most_at_once = 1000;

// How often to do it so that the clock and a stray interruption matter little.
int _times_in_a_sample(const timed_run& run) {
    run(1);
    const double once = std::min(run(1), run(1));
    return std::clamp(static_cast<int>(shortest_sample / std::max(once, 0.01)), 1, most_at_once);
}

}  // namespace

double now() {
    return std::chrono::duration<double, std::micro>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

sample_pair medians(const std::vector<sample_pair>& pairs) {
    std::vector<double> library;
    std::vector<double> floor;
    for (const sample_pair& pair : pairs) {
        library.push_back(pair.library);
        floor.push_back(pair.floor);
    }
    return {median(library), median(floor)};
}

double median_ratio(const std::vector<sample_pair>& pairs) {
    std::vector<double> ratios;
    ratios.reserve(pairs.size());
    for (const sample_pair& pair : pairs)
        ratios.push_back(pair.library / pair.floor);
    return median(ratios);
}

void write_samples(std::ostream& file, const std::string& what, const std::string& amount,
                   const std::vector<sample_pair>& pairs) {
    for (const sample_pair& pair : pairs)
        file << what << '\t' << amount << '\t' << pair.library << '\t' << pair.floor << '\n';
}

std::vector<sample_pair> sample_in_turn(const timed_run& library, const timed_run& floor,
                                        double seconds, std::size_t least_pairs) {
    const int times = std::max(_times_in_a_sample(library), _times_in_a_sample(floor));
    std::vector<sample_pair> pairs;
    std::mt19937 order(1);
    const double end = now() + seconds * 1e6;
    while (pairs.size() < least_pairs || now() < end) {
        sample_pair pair{};
        const bool library_first = order() % 2 == 0;
        if (library_first) pair.library = library(times);
        pair.floor = floor(times);
        if (!library_first) pair.library = library(times);
        pairs.push_back(pair);
    }
    return pairs;
}

}  // namespace bench
