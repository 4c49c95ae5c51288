#include "library/token_registry.h"

#include <pthread.h>

#include <cstdio>

#include "store/failure.h"

namespace vemra::softtoken {

token_registry& token_registry::instance() {
    static token_registry& registry = *new token_registry;
    return registry;
}

token_registry::token_registry() {
    pthread_atfork(prepare_fork, finish_fork, finish_fork);
}

// A child must find no database open: SQLite keeps lock states in memory that would be wrong there.
void token_registry::prepare_fork() {
    token_registry& registry = instance();
    registry.mutex_.lock();
    for (auto& known : registry.tokens_)
        known.second->prepare_fork();
}

void token_registry::finish_fork() {
    token_registry& registry = instance();
    for (auto& known : registry.tokens_)
        known.second->finish_fork();
    registry.mutex_.unlock();
}

VEMRA_PKI_DEVICE_LIST_st* token_registry::attached_tokens(int type) {
    std::lock_guard<std::mutex> lock(mutex_);
    std::string root = root_directory();
    std::vector<token*> attached;
    for (const std::string& name : token_names(root)) {
        token* found = find(root + "/" + name);
        if (found == nullptr || (type != -1 && found->known_type() != type)) continue;
        attached.push_back(found);
    }
    return list_of(std::move(attached));
}

// The attached token in a directory, or null. What cannot be read is reported once and skipped.
token* token_registry::find(const std::string& directory) {
    try {
        token* found = known_in(directory);
        if (found == nullptr) found = meet(directory);
        return found != nullptr && found->attached() ? found : nullptr;
    } catch (const failure& error) {
        if (error.code() != error_code::removed) report_once(error.what());
        return nullptr;
    }
}

token* token_registry::known_in(const std::string& directory) {
    auto place = places_.find(directory);
    if (place == places_.end() || !place->second->is_open_in(directory)) return nullptr;
    return place->second;
}

// Reads which token lies in the directory; null when none does.
token* token_registry::meet(const std::string& directory) {
    std::string path = database_path(directory);
    if (!identify(path)) return nullptr;
    auto open = std::make_unique<open_token>(path);
    std::unique_ptr<token>& known = tokens_[open->info.uid];
    if (known == nullptr) {
        known = std::make_unique<token>(directory, std::move(open));
    } else if (known->lies_beside(directory)) {
        throw failure(error_code::damaged, path + ": a copy of a token beside it");
    } else {
        known->settle(directory, std::move(open));
    }
    places_[directory] = known.get();
    return known.get();
}

void token_registry::report_once(const std::string& reason) {
    if (!reported_.insert(reason).second) return;
    std::fprintf(stderr, "vemra-softtoken: token skipped: %s\n", reason.c_str());
}

VEMRA_PKI_DEVICE_LIST_st* token_registry::list_of(std::vector<token*> tokens) {
    if (tokens.empty()) return nullptr;
    auto& list = lists_[tokens];
    if (list == nullptr) {
        list = std::make_unique<VEMRA_PKI_DEVICE_LIST_st>();
        list->tokens = std::move(tokens);
    }
    return list.get();
}

}  // namespace vemra::softtoken
