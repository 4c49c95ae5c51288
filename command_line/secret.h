/** A password in memory: locked there while it lives, overwritten afterwards, never copied. */
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace vemra {

class secret {
public:
    static constexpr std::size_t longest = 1024;

    secret();
    ~secret();
    secret(const secret&) = delete;
    secret& operator=(const secret&) = delete;

    /** False when there is no room left. */
    bool push_back(char byte);
    /** Nothing happens to an empty one. */
    void pop_back();
    /** Overwrites it. */
    void clear();

    bool empty() const { return length_ == 0; }
    /** NUL-terminated, as the device library takes it; valid while this lives. */
    const char* c_str() const { return text_.data(); }
    std::string_view view() const { return {text_.data(), length_}; }

private:
    std::array<char, longest + 1> text_{};
    std::size_t length_ = 0;
};

}  // namespace vemra
