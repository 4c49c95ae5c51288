/** Data that a program could not write to its standard output. */
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace vemra {

/** what() tells the reason, and in lines of its own what was done all the same. */
class lost_output : public std::runtime_error {
public:
    /** A number of errno, 0 when it is not known; what was done, printable and without line ends.
     */
    lost_output(int reason, const std::vector<std::string>& done);
};

}  // namespace vemra
