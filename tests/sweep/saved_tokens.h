#pragma once

#include <cstdlib>
#include <filesystem>

/** The tokens as they were when this was made, again and again. */
class saved_tokens {
public:
    saved_tokens() {
        std::filesystem::copy(tokens_, saved_, std::filesystem::copy_options::recursive);
    }
    void restore() const {
        for (const auto& old : std::filesystem::directory_iterator(tokens_))
            std::filesystem::remove_all(old);
        std::filesystem::copy(saved_, tokens_, std::filesystem::copy_options::recursive);
    }
    ~saved_tokens() { std::filesystem::remove_all(saved_); }
    saved_tokens(const saved_tokens&) = delete;
    saved_tokens& operator=(const saved_tokens&) = delete;

private:
    std::filesystem::path tokens_ = std::getenv("VEMRA_SOFTTOKEN_DIR");
    std::filesystem::path saved_ = tokens_.string() + "-saved";
};
