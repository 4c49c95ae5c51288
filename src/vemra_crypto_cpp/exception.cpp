#include "vemra_crypto_cpp/exception.h"

#include "base/format.h"
#include "vemra_crypto.h"

namespace vemra::crypto {

namespace {

std::string _message(const char* file, unsigned long line, int code) {
    const std::string cause = exception::get_error_message(code);
    return qo::base::format("%s. (at %s:%u)", cause.c_str(), file, static_cast<unsigned int>(line));
}

}  // namespace

exception::exception(const char* file, const unsigned long& line) noexcept
    : exception(file, line, VemraPKIGetLastError()) {}

exception::exception(const char* file, const unsigned long& line, int code) noexcept
    : std::runtime_error(_message(file, line, code)) {}

std::string exception::get_error_message(int code) {
    return qo::base::format("%s(%d)", VemraPKIGetErrorMsg(code), code);
}

std::string exception::get_last_error_message() {
    return get_error_message(VemraPKIGetLastError());
}

}  // namespace vemra::crypto
