#include "library/token_registry.h"

#include <pthread.h>

#include <cstdlib>

#include "store/descriptor_limit.h"
#include "store/failure.h"
#include "store/harmless_text.h"
#include "store/plain_file.h"

namespace vemra::softtoken {

token_registry& token_registry::instance() {
    static token_registry& registry = *new token_registry;
    return registry;
}

token_registry::token_registry() {
    pthread_atfork(prepare_fork, finish_fork_in_parent, finish_fork_in_child);
    std::atexit(close_all);
}

// A child must find no database open: SQLite keeps lock states in memory that would be wrong there.
void token_registry::prepare_fork() {
    token_registry& registry = instance();
    registry.mutex_.lock();
    for (auto& known : registry.tokens_)
        known.second->prepare_fork();
}

void token_registry::finish_fork_in_parent() {
    token_registry& registry = instance();
    for (auto& known : registry.tokens_)
        known.second->finish_fork_in_parent();
    registry.mutex_.unlock();
}

void token_registry::finish_fork_in_child() {
    token_registry& registry = instance();
    for (auto& known : registry.tokens_)
        known.second->finish_fork_in_child();
    registry.mutex_.unlock();
}

// A database that is closed in order opens faster next time. Calls may still come afterwards.
void token_registry::close_all() {
    token_registry& registry = instance();
    std::unique_lock<std::mutex> lock(registry.mutex_, std::try_to_lock);
    if (!lock.owns_lock()) return;
    for (auto& known : registry.tokens_)
        known.second->close_if_idle();
}

VEMRA_PKI_DEVICE_LIST_st* token_registry::attached_tokens(int type) {
    std::lock_guard<std::mutex> lock(mutex_);
    std::string root = root_directory();
    std::vector<token*> listed;
    auto names = names_in(root);
    told_.begin();
    for (const std::string& name : names) {
        token* found = find(root + "/" + name);
        const bool is_attached = found != nullptr;
        if (auto place = places_.find(root + "/" + name); !is_attached && place != places_.end()) {
            found = place->second;
        }
        if (found == nullptr || !told_.has(found, is_attached)) continue;
        if (type != -1 && found->known_type() != type) continue;
        if (found->is_seen_here()) listed.push_back(found);
    }
    return list_of(told_.told(listed));
}

// A root that cannot be read may hold tokens: that is no list without any.
std::vector<std::string> token_registry::names_in(const std::string& root) {
    try {
        return token::with_room(nullptr, [&] { return token_names(root); });
    } catch (const out_of_descriptors&) {
        throw;
    } catch (const failure& error) {
        report_once("no tokens can be looked for: ", error.what());
        throw;
    }
}

// The attached token in a directory, or null. What cannot be read is reported once and skipped; but
// too many open files say nothing about a token, and the list would be short of it.
token* token_registry::find(const std::string& directory) {
    try {
        std::optional<plug> present = find_plug(plug_path(directory));
        if (present) {
            auto place = places_.find(directory);
            bool known = place != places_.end() && place->second->is_open_in(directory, *present);
            return known ? place->second : meet(directory, *present);
        }
        if (identify(database_path(directory))) {
            open_token::own(directory);
            require_plain_database(database_path(directory));
            token::with_room(nullptr, [&] { require_token_database(database_path(directory)); });
        }
    } catch (const out_of_descriptors&) {
        throw;
    } catch (const failure& error) {
        report_once("token skipped: ", error.what());
    }
    return nullptr;
}

// Opens the token in a directory and makes it known under its identity.
token* token_registry::meet(const std::string& directory, const plug& present) {
    auto open =
        token::with_room(nullptr, [&] { return std::make_unique<open_token>(directory, present); });
    std::unique_ptr<token>& known = tokens_[open->info.uid];
    if (known == nullptr) {
        known = std::make_unique<token>(directory, std::move(open));
    } else if (known->lies_beside(directory)) {
        throw failure(error_code::damaged, directory + ": a copy of a token beside it");
    } else {
        known->settle(directory, std::move(open));
    }
    places_[directory] = known.get();
    return known.get();
}

void token_registry::report_once(const char* what, const std::string& reason) {
    if (!reported_.insert(reason).second) return;
    tell(what, reason.c_str());
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
