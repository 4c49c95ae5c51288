/** All tokens that this process has met, and the lists of attached ones that it has handed out. */
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "library/token.h"
#include "library/told_list.h"

/* The attached tokens at one moment; null is a place without a device. */
struct VEMRA_PKI_DEVICE_LIST_st {
    std::vector<vemra::softtoken::token*> tokens;
};

namespace vemra::softtoken {

/*
 * Tokens and lists live as long as the process: handles point to them, and callers never release a
 * list. There is one list for each distinct set of attached tokens, so enumerating unchanged tokens
 * takes no memory.
 */
class token_registry {
public:
    /* The one registry. It is never destroyed, since handles are freed while the process exits. */
    static token_registry& instance();

    /* The attached tokens in the order of their names, all or those of one type; null for none. */
    VEMRA_PKI_DEVICE_LIST_st* attached_tokens(int type);

private:
    token_registry();
    static void prepare_fork();
    static void finish_fork_in_parent();
    static void finish_fork_in_child();
    static void close_all();

    token* find(const std::string& directory);
    token* meet(const std::string& directory, const plug& present);
    std::vector<std::string> names_in(const std::string& root);
    void report_once(const char* what, const std::string& reason);
    VEMRA_PKI_DEVICE_LIST_st* list_of(std::vector<token*> tokens);

    std::mutex mutex_;
    std::map<std::string, std::unique_ptr<token>> tokens_;
    std::map<std::string, token*> places_;
    told_list told_;
    std::set<std::string> reported_;
    std::map<std::vector<token*>, std::unique_ptr<VEMRA_PKI_DEVICE_LIST_st>> lists_;
};

}  // namespace vemra::softtoken
