/**
 * Tokens under hidden names, beside the others: while they are put together or taken apart.
 *
 * Whoever does that holds a lock on the directory, so that what a killed program left can be told
 * from what is in use.
 */
#pragma once

#include <string>
#include <vector>

namespace vemra::softtoken {

/* A lock on a directory, over all processes. It stays with the directory when that is renamed. */
class directory_lock {
public:
    /* Waits for the lock. */
    explicit directory_lock(const std::string& path);
    ~directory_lock();
    directory_lock(const directory_lock&) = delete;
    directory_lock& operator=(const directory_lock&) = delete;

    int descriptor() const { return directory_; }

private:
    int directory_;
};

/* An empty directory of its own name, private to the user; what lies there at the end goes. */
class token_draft {
public:
    token_draft(const std::string& root, const std::string& name);
    ~token_draft();
    token_draft(const token_draft&) = delete;
    token_draft& operator=(const token_draft&) = delete;

    const std::string& path() const { return path_; }
    int descriptor() const { return directory_; }
    /* Lets what lies there stay, if anything does. */
    void keep() { kept_ = true; }

private:
    std::string path_;
    int directory_ = -1;
    bool kept_ = false;
};

/* A hidden name for a token, or for a damaged one that is kept. */
std::string hidden_name(const std::string& name);
std::string hidden_name_of_damaged(const std::string& name);

struct hidden_tokens {
    std::vector<std::string> left;    /* by programs that were killed: nothing uses them */
    std::vector<std::string> damaged; /* kept by restore, for a person to look at */
};

/* Directories of the user's own that have such a name and hold nothing but a token's files. */
hidden_tokens find_hidden_tokens(const std::string& root);

}  // namespace vemra::softtoken
