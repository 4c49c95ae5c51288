/** The limits on files that are open at once, and what is said of them. */
#pragma once

#include <string>

#include "store/failure.h"

namespace vemra::softtoken {

/* Whether a number of errno tells that too many files are open, in the process or on the machine.
 */
bool is_descriptor_limit(int reason) noexcept;

/*
 * Nothing can be opened, since such a limit was met; its text says which one, and how to raise it.
 * That is no fault of the file's: nothing may be concluded from it about a token.
 */
class out_of_descriptors : public failure {
public:
    out_of_descriptors(const std::string& path, int reason);
};

}  // namespace vemra::softtoken
