#include "command_line/secret.h"

#include <string.h>
#include <sys/mman.h>

namespace vemra {

// Without the right to lock memory the password may reach the swap space, as every other's would.
secret::secret() {
    mlock(text_.data(), text_.size());
}

secret::~secret() {
    clear();
    munlock(text_.data(), text_.size());
}

bool secret::push_back(char byte) {
    if (length_ == longest) return false;
    text_[length_++] = byte;
    return true;
}

void secret::pop_back() {
    if (length_ > 0) text_[--length_] = '\0';
}

void secret::clear() {
    explicit_bzero(text_.data(), text_.size());
    length_ = 0;
}

}  // namespace vemra
