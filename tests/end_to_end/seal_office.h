#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "process.h"

namespace end_to_end {

// One line of the example's list.
struct listed_seal {
    std::string uuid_start;
    std::string type;
    std::string bytes;
    std::string serial;
    std::string device_type;
    std::string name;
};

// A place with software tokens of its own, on which the example programs are run, each time in a
// new process.
class seal_office : public testing::Test {
protected:
    seal_office();
    ~seal_office() override;

    void make_token(const std::string& name, const std::string& serial, int type,
                    const std::vector<std::string>& options = {});
    outcome token_tool(const std::vector<std::string>& arguments);

    // The example, with the right password on its input unless another input is given.
    outcome seal(const std::vector<std::string>& arguments);
    outcome seal_with_input(const std::string& input, const std::vector<std::string>& arguments);
    std::unique_ptr<process> start_seal(const std::vector<std::string>& arguments);
    // Any program on these tokens.
    outcome run_on_tokens(const std::vector<std::string>& command);
    std::unique_ptr<process> start_on_tokens(const std::vector<std::string>& command);

    void store(const std::string& serial, int type, const std::string& name,
               const std::string& picture);
    std::vector<listed_seal> list();
    std::string uuid_of(const std::string& name);
    // The seal's bytes, as the example saves them. Too many to print: compare them with ==.
    std::string saved(const std::string& uuid_start);

    static std::string picture(const std::string& file);
    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    std::string trace() const { return read_file(path("trace")); }

private:
    std::vector<std::string> on_tokens(const std::vector<std::string>& command) const;
    std::vector<std::string> seal_command(const std::vector<std::string>& arguments) const;
    std::vector<std::string> environment() const;

    std::string folder_;
    int saved_files_ = 0;
};

}  // namespace end_to_end
