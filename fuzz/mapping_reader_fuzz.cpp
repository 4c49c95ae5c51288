// The mapping reader takes any bytes without an exception or a read beyond them, and finds what a
// second, independent reader finds.

#include "core/stamp_info_mapping.h"
#include "fuzz_support.h"
#include "model/reference_mapping.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto actual = vemra::app::stamp::_parse_stamp_info_mapping(data, size);
    const auto wanted = reference_mapping::read(std::string(data, data + size)).stamps;
    claim(actual == wanted, "both readers find the same stamps");
    return 0;
}
