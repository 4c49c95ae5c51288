/** An open file with its owner. */
#pragma once

#include <unistd.h>

#include <utility>

namespace vemra::softtoken {

class open_file {
public:
    /** Takes over what open() gave, or -1. */
    explicit open_file(int descriptor) : descriptor_(descriptor) {}
    ~open_file() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;

    /** -1 when it could not be opened. */
    int get() const { return descriptor_; }
    int release() { return std::exchange(descriptor_, -1); }

private:
    int descriptor_;
};

}  // namespace vemra::softtoken
