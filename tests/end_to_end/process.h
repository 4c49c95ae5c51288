#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace end_to_end {

// What a program did: its exit code (128 and the signal's number when one ended it) and all it
// printed.
struct outcome {
    int exit_code = 0;
    std::string output;
    std::string errors;
};

// A started program; its input and its two outputs are files in a folder of its own.
class process {
public:
    // Words of the form NAME=VALUE in `environment` are added to the environment of the tests.
    process(const std::string& folder, const std::vector<std::string>& command,
            const std::string& input = {}, const std::vector<std::string>& environment = {});
    process(const process&) = delete;
    process& operator=(const process&) = delete;
    ~process();

    bool has_ended() const;
    outcome wait();

private:
    std::string folder_;
    pid_t id_ = -1;
};

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& bytes);

}  // namespace end_to_end
