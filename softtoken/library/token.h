/** One token as this process knows it, for as long as the process lives. */
#pragma once

#include <atomic>
#include <forward_list>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "library/behaving_slots.h"
#include "library/exclusive_use.h"
#include "library/fair_mutex.h"
#include "library/handle_state.h"
#include "library/open_token.h"
#include "library/running_call.h"
#include "library/told_identity.h"
#include "store/descriptor_limit.h"

namespace vemra::softtoken {

/*
 * Each operation holds the token's mutex, opens the database if need be, and throws "removed" while
 * the token is unplugged, moved away or replaced by another one. A handle is the state of that
 * through which the call came.
 */
class token {
public:
    /* A token that was met for the first time, open in its directory. */
    token(const std::string& directory, std::unique_ptr<open_token> open);

    /* How it behaves, as this process read it last. Never freed; any thread may ask. */
    const personality* behaviour() const { return behaviour_.load(); }
    int known_type() const { return told_type(info_, *behaviour()); }
    /* Whether lists of this process have it: another process may have it for itself. */
    bool is_seen_here();

    /* True while this process has the token in that directory, plugged in as present says, open. */
    bool is_open_in(const std::string& directory, const plug& present);
    /* True while this token is plugged in in another directory of the same root. */
    bool lies_beside(const std::string& directory);
    /* The token was found in a directory. */
    void settle(const std::string& directory, std::unique_ptr<open_token> open);

    /* Around each call's work, from before it waits for others; throws busy where they may not. */
    void take_turn();
    void end_turn();

    void unplug(); /* for all processes */
    /*
     * For a new handle: how the token was plugged in when it was listed last. Throws busy when
     * there may be no other one. Each is given back.
     */
    const plug* take_handle();
    void give_handle_back() { --handles_; }

    int type(running_call& call, handle_state& handle);
    std::string serial_number(running_call& call, handle_state& handle);
    std::string digest_name(running_call& call, handle_state& handle);

    /*
     * Slots, as behaving_slots does it. A change, and reading where the token says so, needs a
     * verified password, and throws not_logged_in without it.
     */
    int slot_length(running_call& call, handle_state& handle, int id);
    int read_slot(running_call& call, handle_state& handle, int id, unsigned char* buffer,
                  int buffer_size);
    void create_slot(running_call& call, handle_state& handle, int id,
                     const unsigned char* attributes, int size);
    void write_slot(running_call& call, handle_state& handle, int id, const void* data, int length);
    void delete_slot(running_call& call, handle_state& handle, int id);

    /*
     * retries becomes the number of attempts that are left, whatever the outcome of the check,
     * unless the token tells another. It stays as it was when there is none: the token is
     * unplugged, unreadable, or fails on demand.
     */
    void verify_password(running_call& call, handle_state& handle, const char* password,
                         int& retries);

    /* Key pairs and their certificates by index; throws no_such_index. A keypair is a row. */
    int keypair_count(running_call& call, handle_state& handle);
    std::int64_t keypair_at(running_call& call, handle_state& handle, int index);
    int certificate_count(running_call& call, handle_state& handle, std::int64_t keypair);
    std::string certificate_at(running_call& call, handle_state& handle, std::int64_t keypair,
                               int index);

    /* Waits for the running call, closes the database and keeps the token still until the fork. */
    void prepare_fork();
    void finish_fork_in_parent() { mutex_.go_on_in_parent(); }
    void finish_fork_in_child();
    /* Closes the database, unless a call is running. */
    void close_if_idle();

    /*
     * Runs something that opens files; when there are too many open, again after the databases of
     * all tokens were closed that run no call. They open again at their next call. asking is the
     * token whose mutex the caller holds, or null.
     */
    template <typename Open>
    static auto with_room(const token* asking, Open open) {
        try {
            return open();
        } catch (const out_of_descriptors&) {
            close_idle_except(asking);
        }
        return open();
    }

private:
    static void close_idle_except(const token* asking);
    void close();
    void take(std::unique_ptr<open_token> open);
    open_token& opened();
    void know(const open_token& open) { behaviour_ = open.behaviour; }
    void note_listed(const plug& present);
    open_token& start(running_call& call, handle_state& handle);
    void behave(running_call& call, const open_token& open, handle_state& handle);
    void fire_due_faults(running_call& call, open_token& open);
    bool take_away(open_token& open, const fault& spent);
    bool is_accessible(const open_token& open);
    login& login_of(const open_token& open, handle_state& handle);
    void require_login(const open_token& open, handle_state& handle);
    void change_slots(running_call& call, handle_state& handle,
                      const std::function<void(behaving_slots&)>& require,
                      const std::function<void(behaving_slots&)>& change);

    template <typename Inspect>
    auto look(running_call& call, handle_state& handle, Inspect inspect);

    fair_mutex mutex_;
    std::string directory_;
    std::string plug_path_;
    const token_info info_;
    std::forward_list<plug> listings_;
    std::atomic<const plug*> listed_{nullptr};
    login process_login_;
    exclusive_use exclusive_use_;
    pid_t met_by_ = 0;
    unsigned int serial_calls_ = 0;
    std::atomic<int> handles_{0};
    std::atomic<int> callers_{0};
    std::atomic<const personality*> behaviour_;
    std::unique_ptr<open_token> open_;
    // Of the database that was closed: faults count calls on when it opens again.
    fault_plan closed_faults_{{}};
    std::optional<plug> closed_plug_;
};

}  // namespace vemra::softtoken
