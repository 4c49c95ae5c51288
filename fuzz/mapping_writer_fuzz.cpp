// The mapping writer writes what a second, independent writer writes. The reader reads it back as
// long as every name can survive, and what a second reader makes of it in any case.

#include <algorithm>

#include "core/stamp_info_mapping.h"
#include "fuzz_support.h"
#include "model/reference_mapping.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices input(data, size);
    vemra::app::stamp::stamp_info_mapping stamps;
    while (!input.is_used_up()) {
        const auto slot = static_cast<int>(input.number());
        stamps[slot] = input.text();
    }

    const reference_mapping::mapping numbered(stamps.begin(), stamps.end());
    const std::string record = vemra::app::stamp::_encode_stamp_info_mapping(stamps);
    claim(record == reference_mapping::write(numbered), "both writers write the same record");

    const auto* bytes = reinterpret_cast<const unsigned char*>(record.data());
    const auto back = vemra::app::stamp::_parse_stamp_info_mapping(bytes, record.size());
    const reference_mapping::mapping numbered_back(back.begin(), back.end());
    claim(numbered_back == reference_mapping::read(record).stamps,
          "both readers read the same back");
    const bool all_survive = std::all_of(stamps.begin(), stamps.end(), [](const auto& stamp) {
        return reference_mapping::survives(stamp.second);
    });
    claim(!all_survive || back == stamps, "what was written is read back");
    return 0;
}
