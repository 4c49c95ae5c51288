/** Bytes that nobody changes any more. Copies share them, so that a picture is never copied. */
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace vemra::tool {

class shared_bytes {
public:
    shared_bytes() = default;
    explicit shared_bytes(std::string bytes)
        : bytes_(std::make_shared<const std::string>(std::move(bytes))) {}

    /** Lives as long as any of the copies. */
    const std::string& get() const {
        static const std::string none;
        return bytes_ == nullptr ? none : *bytes_;
    }
    std::size_t size() const { return get().size(); }
    bool empty() const { return get().empty(); }

    bool operator==(const shared_bytes& other) const {
        return bytes_ == other.bytes_ || get() == other.get();
    }
    bool operator!=(const shared_bytes& other) const { return !(*this == other); }

private:
    std::shared_ptr<const std::string> bytes_;
};

}  // namespace vemra::tool
