#include "model/expected.h"

expected::expected(const std::string& function) : function_(function) {
    verbose(">>>> " + function);
}

expected& expected::verbose(const std::string& message) {
    lines.push_back(" [VERBOSE]  [" + function_ + "] " + message);
    return *this;
}

expected& expected::input(const std::string& name, const std::string& value) {
    return verbose("Input " + name + ": " + value);
}

expected& expected::debug(const std::string& message) {
    lines.push_back(" [DEBUG]    [" + function_ + "] " + message);
    return *this;
}

expected& expected::error(const std::string& message) {
    return error_of(function_, "VEMRA_APP_STAMP.cpp", message);
}

expected& expected::error_of(const std::string& function, const std::string& file,
                             const std::string& message) {
    lines.push_back(" [ERROR]    [" + function + "] " + message + " (src/core/" + file + ":N)");
    return *this;
}

expected& expected::returns(int result) {
    status = result;
    return verbose("<<<< " + function_);
}

std::string failure_text(const std::string& text_and_code, int line) {
    return text_and_code + ". (at src/vemra_crypto_cpp/device:" + std::to_string(line);
}

std::string hex_text(const std::string& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) / 16];
        text += digits[static_cast<unsigned char>(byte) % 16];
    }
    return text;
}
