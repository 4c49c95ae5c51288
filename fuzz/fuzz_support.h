#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/** Ends the run as a finding, with what should have held, unless it does. */
void claim(bool holds, const std::string& what);

/** Draws choices from an input, one byte each; a used-up input gives zeros. */
class choices {
public:
    choices(const std::uint8_t* data, std::size_t size) : next_(data), left_(size) {}

    bool is_used_up() const { return left_ == 0; }
    unsigned char byte();
    bool yes() { return byte() % 2 == 1; }
    /** Four bytes, so that any number comes up. */
    int number();
    /** A length, then as many bytes. */
    std::string text();
    std::string rest();

private:
    const std::uint8_t* next_;
    std::size_t left_;
};
