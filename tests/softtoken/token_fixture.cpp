#include "token_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "store/plug.h"
#include "support/child_process.h"

namespace softtoken_test {

using namespace vemra::softtoken;

token_test::token_test() {
    std::string pattern = testing::TempDir() + "softtoken.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    root_ = pattern;
    setenv("VEMRA_SOFTTOKEN_DIR", root_.c_str(), 1);
}

token_test::~token_test() {
    unsetenv("VEMRA_SOFTTOKEN_FAULTS");
    unsetenv("VEMRA_SOFTTOKEN_TRACE");
    std::filesystem::remove_all(root_);
}

new_token token_test::plain_token(const std::string& serial_number) {
    new_token token;
    token.info.serial_number = serial_number;
    token.info.type = 1;
    token.password = password;
    token.password_cost = 1;
    return token;
}

void token_test::make_token(const std::string& name) {
    make_token(name, plain_token("SN-" + name));
}

void token_test::make_token(const std::string& name, const new_token& token) {
    create_token(root_, name, token);
}

void token_test::attach(const std::string& name) {
    plug_in(directory(name));
}

void token_test::detach(const std::string& name) {
    pull_out(directory(name));
}

device_owner device_at(int index) {
    VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(-1, 0);
    VEMRA_PKI_DEVICE_HANDLE_st* device =
        list == nullptr ? nullptr : VemraPKICryptoGetDevice(list, index);
    return {device, VemraPKICryptoFreeDevice};
}

int attached_count() {
    VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(-1, 0);
    return list == nullptr ? 0 : VemraPKICryptoGetDeviceCount(list);
}

std::string serial_number_of(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    char* text = nullptr;
    int result = VemraPKICryptoGetSerialNumber(device, &text);
    if (result != 1) return "failed: " + std::to_string(result);
    std::string serial_number = text;
    VemraPKICryptoFreeMemory(text);
    return serial_number;
}

int log_in(VEMRA_PKI_DEVICE_HANDLE_st* device, const char* given) {
    int retries = 0;
    return VemraPKICryptoVerifyPwd(device, 1, given, &retries);
}

int create_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int size) {
    constexpr std::array<unsigned char, 5> attributes{4, 1, 3, 7, 0};
    return VemraPKICryptoCreateData(device, id, attributes.data(), size);
}

int write_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const std::string& bytes) {
    return VemraPKICryptoWriteData(device, id, bytes.data(), static_cast<int>(bytes.size()));
}

int fill_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const std::string& bytes) {
    int created = create_slot(device, id, static_cast<int>(bytes.size()));
    return created == 1 ? write_slot(device, id, bytes) : created;
}

int slot_length(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int& length) {
    return VemraPKICryptoGetDataLength(device, id, &length);
}

std::string slot_bytes(VEMRA_PKI_DEVICE_HANDLE_st* device, int id) {
    int length = 0;
    int result = slot_length(device, id, length);
    std::vector<unsigned char> buffer(static_cast<std::size_t>(length) + 1);
    if (result == 1) result = VemraPKICryptoReadData(device, id, buffer.data(), length, &length);
    if (result != 1) return "failed: " + std::to_string(result);
    return {reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(length)};
}

bool in_child(const std::function<bool()>& body) {
    return child_process(body).succeeds();
}

int at_once(int children, const std::function<bool(int)>& body) {
    std::vector<child_process> started;
    for (int number = 0; number < children; ++number)
        started.emplace_back([&, number] { return body(number); });
    int succeeded = 0;
    for (child_process& child : started)
        succeeded += child.succeeds() ? 1 : 0;
    return succeeded;
}

std::string file_of(const std::string& word) {
    const std::size_t start = word.find('"') + 1;
    return word.substr(start, word.find('"', start) - start);
}

program_result run(const std::string& command) {
    program_result result;
    FILE* pipe = popen(("{ " + command + "\n} 2>&1").c_str(), "r");
    std::array<char, 4096> part{};
    for (std::size_t got = 0; (got = fread(part.data(), 1, part.size(), pipe)) > 0;) {
        result.output.append(part.data(), got);
    }
    int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

program_result run_tool(const std::string& arguments, const std::string& input) {
    return run("printf '%s\\n' '" + input + "' | " SOFTTOKEN_TOOL " " + arguments);
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string file_bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write_file(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
}

}  // namespace softtoken_test
