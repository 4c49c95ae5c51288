/** What an exported function was asked, as far as faults and the trace tell calls apart. */
#pragma once

namespace vemra::softtoken {

/* Below 0 stands for a number that the function does not have. */
struct call_facts {
    const char* function;
    int slot = -1;
    int size = -1;
};

}  // namespace vemra::softtoken
