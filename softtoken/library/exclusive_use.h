/** The claim of one process to a token that only one may use. */
#pragma once

#include <string>

namespace vemra::softtoken {

/*
 * The kernel takes it away from a process that ends; a child made by fork does not have it. Used by
 * one thread at a time.
 */
class exclusive_use {
public:
    /* Whether this process has the claim, after claiming it if it is free. */
    bool is_ours(const std::string& token_directory);
    void give_back();

private:
    int file_ = -1;
};

}  // namespace vemra::softtoken
