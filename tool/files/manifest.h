/** manifest.json of an archive, as docs/formats.md describes it. */
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace vemra::tool {

/** A stamp that a device's list names. */
struct listed_stamp {
    int slot = 0;
    std::string name;
    /** Of its bytes, in hexadecimal digits; empty when they could not be read. */
    std::string sha256;
};

struct manifest {
    struct entry {
        std::string name;
        /** 0 when it is not known. */
        int slot = 0;
        /** Raw bytes; empty when it is not known. */
        std::string uuid;
        std::size_t bytes = 0;
        /** In hexadecimal digits. */
        std::string sha256;
        /** A plain file name. */
        std::string file;
    };

    /** The device that the stamps are of. */
    std::string serial;
    int type = 0;
    std::vector<entry> stamps;
    /** The device's whole list; a backup, whose stamps are the list, has none. */
    std::vector<listed_stamp> listed{};
};

/** Why a text is no manifest. */
class damaged_manifest : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** `created` is a time for people. */
std::string print_manifest(const manifest& listed, const std::string& created);

/**
 * Takes only what print_manifest() could have written, apart from order, spacing and keys that it
 * does not know. Throws damaged_manifest.
 */
manifest parse_manifest(const std::string& text);

}  // namespace vemra::tool
