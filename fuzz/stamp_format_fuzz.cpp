// Only the magic alone, or with one zero byte, counts as sealed.

#include "core/basic_stamp.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);
    const bool is_sealed = bytes == "VemraSeal" || bytes == std::string("VemraSeal\0", 10);
    const int format = vemra::app::stamp::basic_stamp::detect_stamp_format(data, size);
    claim(format == (is_sealed ? 1 : 0), "the format is told by the whole of the bytes");
    return 0;
}
