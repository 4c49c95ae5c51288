/** File descriptors: an owner, and reading and writing whole. */
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace vemra {

/** Closes the descriptor that it was given; -1 is none. */
class descriptor {
public:
    explicit descriptor(int number = -1) : number_(number) {}
    ~descriptor();
    descriptor(descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor& operator=(descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    int get() const { return number_; }
    bool is_open() const { return number_ >= 0; }

private:
    int number_;
};

/** False when not everything could be written; errno tells why. */
bool write_all(int number, std::string_view bytes);
/** Reads to the end, or one byte beyond `most`. Throws std::system_error. */
std::string read_all(int number, std::size_t most);

}  // namespace vemra
