#include "support/expected_trace.h"

std::string verbose_line(const std::string& function, const std::string& message) {
    return " [VERBOSE]  [" + function + "] " + message;
}

std::string debug_line(const std::string& function, const std::string& message) {
    return " [DEBUG]    [" + function + "] " + message;
}

std::string error_line(const std::string& function, const std::string& message,
                       const std::string& file) {
    return " [ERROR]    [" + function + "] " + message + " (src/core/" + file + ":N)";
}

expected_trace::expected_trace(const std::string& function) : function_(function) {
    verbose(">>>> " + function);
}

expected_trace& expected_trace::verbose(const std::string& message) {
    lines_.push_back(verbose_line(function_, message));
    return *this;
}

expected_trace& expected_trace::debug(const std::string& message) {
    lines_.push_back(debug_line(function_, message));
    return *this;
}

expected_trace& expected_trace::error(const std::string& message) {
    lines_.push_back(error_line(function_, message));
    return *this;
}

expected_trace& expected_trace::error_of(const std::string& function, const std::string& file,
                                         const std::string& message) {
    lines_.push_back(error_line(function, message, file));
    return *this;
}

expected_trace::operator text_lines() const {
    text_lines whole = lines_;
    whole.push_back(verbose_line(function_, "<<<< " + function_));
    return whole;
}

std::string failure_text(const std::string& text_and_code, int line) {
    return text_and_code + ". (at src/vemra_crypto_cpp/device:" + std::to_string(line);
}
