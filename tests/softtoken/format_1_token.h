/** A token as it was stored before slots had sums. */
#pragma once

#include <string>

namespace softtoken_test {

/*
 * Makes the token in a directory: serial number SN-old, attached, the password "correct horse".
 * Slot 8130 holds "written by format 1", slot 8131 has three bytes that were not written yet.
 */
void make_format_1_token(const std::string& directory);

}  // namespace softtoken_test
