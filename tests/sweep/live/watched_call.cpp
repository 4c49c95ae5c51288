#include "sweep/live/watched_call.h"

#include <cctype>
#include <cstdlib>
#include <exception>

#include "support/allocation_faults.h"
#include "support/stream_capture.h"
#include "vemra_app_stamp.h"

namespace {

// The same as normalised_line(), which is too slow for a hundred thousand lines.
std::string _normalised(const std::string& line) {
    const std::size_t colon = line.rfind(".cpp:");
    const bool has_position = colon != std::string::npos && line.back() == ')';
    const std::size_t end = has_position ? colon + 5 : line.size();
    std::string result;
    for (std::size_t i = 0; i < end; ++i) {
        if (line.compare(i, 2, "0x") != 0) {
            result += line[i];
            continue;
        }
        result += "PTR";
        for (++i; i + 1 < end && std::isxdigit(static_cast<unsigned char>(line[i + 1])) != 0;)
            ++i;
    }
    return has_position ? result + "N)" : result;
}

const stream_capture* open_capture = nullptr;
std::function<void(const seen_call&)> end_watcher;

[[noreturn]] void _tell_end() {
    allocation_faults_exempt(1);
    allocation_faults::stop();
    seen_call seen;
    seen.has_ended = true;
    seen.met_shortage = true;
    seen.lines = normalised_trace(open_capture->lines());
    end_watcher(seen);
    std::abort();
}

}  // namespace

seen_call watched_call(const std::function<int()>& work) {
    const stdout_capture captured;
    open_capture = &captured;
    seen_call seen;
    try {
        const counted_scope counted;
        seen.status = work();
    } catch (const std::exception& error) {
        seen.escaped = error.what();
    } catch (int thrown) {
        seen.escaped = std::to_string(thrown);
    }
    seen.met_shortage = allocation_faults::fired();
    allocation_faults::stop();
    seen.lines = normalised_trace(captured.lines());
    seen.last_status = VemraAppStampGetLastError();
    return seen;
}

void watch_end(const std::function<void(const seen_call&)>& watcher) {
    end_watcher = watcher;
    std::set_terminate(_tell_end);
}

counted_scope::counted_scope() {
    allocation_faults_exempt(-1);
}

counted_scope::~counted_scope() {
    allocation_faults_exempt(1);
}

std::vector<std::string> normalised_trace(const std::vector<std::string>& lines) {
    std::vector<std::string> result;
    for (const std::string& line : lines)
        result.push_back(_normalised(line));
    return result;
}
