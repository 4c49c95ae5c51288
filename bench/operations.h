#pragma once

#include <functional>
#include <vector>

#include "program.h"
#include "sampling.h"

namespace bench {

/** What is measured: an operation on stamps of one size. */
struct operation {
    const char* name;
    /** Does it `count` times; tells the microseconds that one time took. */
    std::function<double(program&, int count)> run;
};

/** All of them. Each leaves five stamps on the first device, as it found them. */
std::vector<operation> operations_on_stamps_of(std::size_t size);

/** Lists and takes all stamps that there are, over and over. */
timed_run timed_listing(program& done_by);

}  // namespace bench
