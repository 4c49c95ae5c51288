#include "command_line/descriptor.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace vemra {

descriptor::~descriptor() {
    if (number_ >= 0) close(number_);
}

bool write_all(int number, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(number, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::string read_all(int number, std::size_t most) {
    std::string bytes;
    std::array<char, 65536> block;
    while (bytes.size() <= most) {
        const std::size_t wanted = std::min(block.size(), most + 1 - bytes.size());
        const ssize_t count = read(number, block.data(), wanted);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw std::system_error(errno, std::generic_category());
        if (count == 0) break;
        bytes.append(block.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

}  // namespace vemra
