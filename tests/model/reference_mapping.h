#pragma once

#include <map>
#include <string>
#include <vector>

constexpr int mapping_slot = 8127;

/**
 * A second reader and writer of the record in slot 8127, written for the tests from the record's
 * format alone, to be compared with the library's.
 */
namespace reference_mapping {

using mapping = std::map<unsigned int, std::string>;

struct reading {
    mapping stamps;
    /** What is reported of a bad header and of entries that are skipped: messages, in order. */
    std::vector<std::string> reports;
};

reading read(const std::string& record);
std::string write(const mapping& stamps);

/** The four bytes of a number, as they stand in a record. */
std::string little_endian(unsigned int value);

/** Whether a name comes back as it was written. */
bool survives(const std::string& name);

}  // namespace reference_mapping
