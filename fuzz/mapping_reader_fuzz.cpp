// The mapping reader takes any bytes without an exception or a read beyond them, finds what a
// second, independent reader finds, and reports what that one reports.

#include <string_view>

#include "core/stamp_info_mapping.h"
#include "fuzz_support.h"
#include "model/reference_mapping.h"
#include "support/stream_capture.h"

namespace {

// Entries may hold line ends, so the text is taken off piece by piece.
void _claim_reports(std::string_view printed, const std::vector<std::string>& reports) {
    for (const std::string& report : reports) {
        const std::string line = " [ERROR]    [_parse_stamp_info_mapping] " + report + " (";
        claim(printed.substr(0, line.size()) == line, "one reports as the other: " + report);
        const std::size_t end = printed.find(")\n", line.size());
        claim(end != std::string_view::npos, "a report ends in its source line");
        printed.remove_prefix(end + 2);
    }
    claim(printed.empty(), "nothing else is reported: " + std::string(printed));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static stdout_capture& captured = *new stdout_capture;
    captured.clear();
    const auto actual = vemra::app::stamp::_parse_stamp_info_mapping(data, size);
    const auto wanted = reference_mapping::read(std::string(data, data + size));
    const reference_mapping::mapping found(actual.begin(), actual.end());
    claim(found == wanted.stamps, "both readers find the same stamps");
    _claim_reports(captured.text(), wanted.reports);
    return 0;
}
