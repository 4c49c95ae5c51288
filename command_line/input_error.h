/** What is wrong with something that a program was given, in words for people. */
#pragma once

#include <stdexcept>
#include <string>

namespace vemra {

/** Bad input: programs end with status 2 for it, as for wrong usage. */
class input_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace vemra
