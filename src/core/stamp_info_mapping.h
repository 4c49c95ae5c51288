#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace vemra::app::stamp {

/**
 * Which data slots of a device hold stamps, and under which names. Ascending by slot: choosing a
 * free slot depends on that.
 */
using stamp_info_mapping = std::map<unsigned int, std::string>;

/**
 * The record for slot 8127, little-endian:
 *
 *     offset 0, 4 bytes  total length, this header included
 *     offset 4, 1 byte   version, 1
 *     offset 5, the rest NAME&SLOT entries, joined by "||"
 *
 * Kept(lossy-names): names are written as they are; one that is empty or contains "&" or "||" does
 * not come back.
 */
std::string _encode_stamp_info_mapping(const stamp_info_mapping& mapping);

/**
 * Reads a record of which `size` bytes are present. Any bytes are safe to read. Bad entries are
 * logged and skipped, a bad header is logged; no bytes at all are an empty mapping.
 */
stamp_info_mapping _parse_stamp_info_mapping(const unsigned char* bytes, const std::size_t& size);

}  // namespace vemra::app::stamp
