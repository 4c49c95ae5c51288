/** The faults of one token: the file "faults" in its directory, one fault a line. */
#pragma once

#include <string>
#include <vector>

#include "store/fault.h"
#include "store/file_lock.h"

namespace vemra::softtoken {

/* While it lives no other process changes the token's faults or limits. */
class settings_lock : file_lock {
public:
    explicit settings_lock(const std::string& token_directory)
        : file_lock(token_directory + "/settings.lock") {}
};

/* Throws damaged, with the file's path and what to do, for a text that is no faults. */
std::vector<fault> read_faults(const std::string& token_directory);

/* The caller of these holds the settings lock. Running processes notice the change. */
void write_faults(const std::string& token_directory, const std::vector<fault>& faults);
/* Takes the first fault with this text away; false when there is none. */
bool remove_fault(const std::string& token_directory, const std::string& text);

}  // namespace vemra::softtoken
