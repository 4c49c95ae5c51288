#pragma once

#include <string>

/** Lower-case digits of bytes, as the log shows them and, with a separator, as the fake does. */
std::string hex_text(const std::string& bytes, const std::string& separator = {});
