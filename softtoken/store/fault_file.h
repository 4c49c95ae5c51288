/** The faults of one token: the file "faults" in its directory, one fault a line. */
#pragma once

#include <string>
#include <vector>

#include "store/fault.h"

namespace vemra::softtoken {

std::vector<fault> read_faults(const std::string& token_directory);
/* Replaces the file as a whole and lets running processes notice. */
void write_faults(const std::string& token_directory, const std::vector<fault>& faults);
/* Takes the first fault with this text away. */
void remove_fault(const std::string& token_directory, const std::string& text);

}  // namespace vemra::softtoken
