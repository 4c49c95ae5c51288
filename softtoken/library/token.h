/** One token as this process knows it, for as long as the process lives. */
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "library/fair_mutex.h"
#include "library/login.h"
#include "library/open_token.h"
#include "library/running_call.h"
#include "store/descriptor_limit.h"

namespace vemra::softtoken {

/*
 * Each operation holds the token's mutex, opens the database if need be, and throws "removed" while
 * the token is unplugged, moved away or replaced by another one. A device_login is the state of the
 * device handle through which the call came; it counts for tokens whose login scope is the handle.
 */
class token {
public:
    /* A token that was met for the first time, open in its directory. */
    token(const std::string& directory, std::unique_ptr<open_token> open);

    /* The type never changes, so this needs no look at the token. */
    int known_type() const { return info_.type; }
    /* True while this process has the token in that directory, plugged in as present says, open. */
    bool is_open_in(const std::string& directory, const plug& present);
    /* True while this token is plugged in in another directory of the same root. */
    bool lies_beside(const std::string& directory);
    /* The token was found in a directory. */
    void settle(const std::string& directory, std::unique_ptr<open_token> open);

    /* Takes the token's plug away, for all processes. */
    void unplug();
    /* Throws "removed" or returns. */
    void require_attached(running_call& call);
    int type(running_call& call);
    std::string serial_number(running_call& call);

    /*
     * Slots, as slot_table does it. A change needs a verified password where the token asks for
     * one, and throws not_logged_in without it.
     */
    int slot_length(running_call& call, int id);
    int read_slot(running_call& call, int id, unsigned char* buffer, int buffer_size);
    void create_slot(running_call& call, login& device_login, int id,
                     const unsigned char* attributes, int size);
    void write_slot(running_call& call, login& device_login, int id, const void* data, int length);
    void delete_slot(running_call& call, login& device_login, int id);

    /*
     * retries becomes the number of attempts that are left, whatever the outcome of the check. It
     * stays as it was when there is none: the token is unplugged, unreadable, or fails on demand.
     */
    void verify_password(running_call& call, login& device_login, const char* password,
                         int& retries);

    /* Key pairs and their certificates by index; throws no_such_index. A keypair is a row. */
    int keypair_count(running_call& call);
    std::int64_t keypair_at(running_call& call, int index);
    int certificate_count(running_call& call, std::int64_t keypair);
    std::string certificate_at(running_call& call, std::int64_t keypair, int index);

    /* Waits for the running call, closes the database and keeps the token still until the fork. */
    void prepare_fork();
    void finish_fork_in_parent() { mutex_.go_on_in_parent(); }
    void finish_fork_in_child() { mutex_.go_on_in_child(); }
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
    open_token& start(running_call& call);
    void fire_due_faults(running_call& call, open_token& open);
    bool take_away(open_token& open, const fault& spent);
    login& login_of(const open_token& open, login& device_login);
    void change_slots(running_call& call, login& device_login,
                      const std::function<void(open_token&)>& require,
                      const std::function<void(open_token&)>& change);

    template <typename Inspect>
    auto look(running_call& call, Inspect inspect);

    fair_mutex mutex_;
    std::string directory_;
    std::string plug_path_;
    const token_info info_;
    login process_login_;
    std::unique_ptr<open_token> open_;
    // Of the database that was closed: faults count calls on when it opens again.
    fault_plan closed_faults_{{}};
    std::optional<plug> closed_plug_;
};

}  // namespace vemra::softtoken
