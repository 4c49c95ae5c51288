#pragma once

#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace bench {

/** Microseconds since some moment. */
double now();

double median(std::vector<double> values);

/** One sample of each of two programs, taken one right after the other. Microseconds. */
struct sample_pair {
    double library;
    double floor;
};

/** The medians of the two, each for itself. */
sample_pair medians(const std::vector<sample_pair>& pairs);
/** The median of the pairs' ratios, library to floor. */
double median_ratio(const std::vector<sample_pair>& pairs);

/** Does something `count` times and tells the microseconds that one time took. */
using timed_run = std::function<double(int count)>;

/** A line for each pair: what was measured, how much of it, microseconds of both. Tab-separated. */
void write_samples(std::ostream& file, const std::string& what, const std::string& amount,
                   const std::vector<sample_pair>& pairs);

/**
 * Takes samples of both in turn, each long enough to be timed well, for about `seconds` but at
 * least `least_pairs` times. Which of the two comes first is drawn anew for every pair: something
 * that happens every so many calls, as a device that tidies up does, must not always meet the same.
 */
std::vector<sample_pair> sample_in_turn(const timed_run& library, const timed_run& floor,
                                        double seconds, std::size_t least_pairs);

}  // namespace bench
