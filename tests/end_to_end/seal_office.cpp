#include "seal_office.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace end_to_end {

namespace {

constexpr const char* password = "right password";

listed_seal _parse_row(const std::string& line) {
    std::istringstream words(line);
    listed_seal seal;
    words >> seal.uuid_start >> seal.type >> seal.bytes >> seal.serial >> seal.device_type;
    std::getline(words >> std::ws, seal.name);
    return seal;
}

}  // namespace

seal_office::seal_office() : folder_(testing::TempDir() + "seal_office.XXXXXX") {
    if (mkdtemp(folder_.data()) == nullptr) throw std::runtime_error("cannot make " + folder_);
    write_file(path("password"), std::string(password) + "\n");
}

seal_office::~seal_office() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::vector<std::string> seal_office::environment() const {
    return {"VEMRA_SOFTTOKEN_DIR=" + path("tokens")};
}

outcome seal_office::token_tool(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {SOFTTOKEN_TOOL};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return process(folder_, command, "", environment()).wait();
}

void seal_office::make_token(const std::string& name, const std::string& serial, int type,
                             const std::vector<std::string>& options) {
    // A cheap password hash: these passwords protect nothing.
    std::vector<std::string> arguments = {
        "create",          name, "--serial",        serial,          "--type", std::to_string(type),
        "--password-cost", "1",  "--password-file", path("password")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const outcome made = token_tool(arguments);
    ASSERT_EQ(made.exit_code, 0) << made.errors;
}

std::vector<std::string> seal_office::on_tokens(const std::vector<std::string>& command) const {
    std::vector<std::string> words = {SOFTTOKEN_TOOL, "exec", "--"};
    words.insert(words.end(), command.begin(), command.end());
    return words;
}

std::vector<std::string> seal_office::seal_command(
    const std::vector<std::string>& arguments) const {
    std::vector<std::string> words = {SEAL_DEMO, "--trace", path("trace")};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return on_tokens(words);
}

outcome seal_office::run_on_tokens(const std::vector<std::string>& command) {
    return start_on_tokens(command)->wait();
}

std::unique_ptr<process> seal_office::start_on_tokens(const std::vector<std::string>& command) {
    return std::make_unique<process>(folder_, on_tokens(command), "", environment());
}

outcome seal_office::seal_with_input(const std::string& input,
                                     const std::vector<std::string>& arguments) {
    return process(folder_, seal_command(arguments), input, environment()).wait();
}

outcome seal_office::seal(const std::vector<std::string>& arguments) {
    return seal_with_input(std::string(password) + "\n", arguments);
}

std::unique_ptr<process> seal_office::start_seal(const std::vector<std::string>& arguments) {
    return std::make_unique<process>(folder_, seal_command(arguments), std::string(password) + "\n",
                                     environment());
}

void seal_office::store(const std::string& serial, int type, const std::string& name,
                        const std::string& picture) {
    const outcome stored =
        seal({"store", serial, std::to_string(type), name, SEAL_PICTURES "/" + picture});
    ASSERT_EQ(stored.exit_code, 0) << stored.errors;
}

std::vector<listed_seal> seal_office::list() {
    const outcome listed = seal({"list"});
    EXPECT_EQ(listed.exit_code, 0) << listed.errors;
    std::istringstream lines(listed.output);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "uuid          type        bytes  device        device type  name");
    std::vector<listed_seal> seals;
    while (std::getline(lines, line))
        seals.push_back(_parse_row(line));
    return seals;
}

std::string seal_office::uuid_of(const std::string& name) {
    for (const listed_seal& seal : list()) {
        if (seal.name == name) return seal.uuid_start;
    }
    ADD_FAILURE() << "no seal is named " << name;
    return {};
}

std::string seal_office::saved(const std::string& uuid_start) {
    const std::string file = path("saved." + std::to_string(++saved_files_));
    const outcome result = seal({"save", uuid_start, file});
    EXPECT_EQ(result.exit_code, 0) << result.errors;
    return result.exit_code == 0 ? read_file(file) : std::string();
}

std::string seal_office::picture(const std::string& file) {
    return read_file(SEAL_PICTURES "/" + file);
}

}  // namespace end_to_end
