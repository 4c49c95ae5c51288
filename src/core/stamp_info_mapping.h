#pragma once

#include <cstddef>
#include <string>

#include "core/stamp_slots.h"

namespace vemra::app::stamp {

/*
 * The bytes of slot 8127, little-endian:
 *
 *     offset 0, 4 bytes  total length, this header included
 *     offset 4, 1 byte   version, 1
 *     offset 5, the rest NAME&SLOT entries, joined by "||"
 */

/**
 * The mapping's bytes.
 *
 * Kept(lossy-names): names are written as they are; one that is empty or contains "&" or "||" does
 * not come back.
 */
std::string _encode_stamp_info_mapping(const stamp_info_mapping& mapping);

/**
 * Reads a mapping of whose bytes `size` are present. Any bytes are safe to read. Bad entries are
 * logged and skipped, a bad header is logged; no bytes at all are an empty mapping.
 */
stamp_info_mapping _parse_stamp_info_mapping(const unsigned char* bytes, const std::size_t& size);

}  // namespace vemra::app::stamp
