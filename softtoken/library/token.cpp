#include "library/token.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

#include "store/failure.h"
#include "store/password_check.h"

namespace vemra::softtoken {

namespace {

// All tokens of the process, which live as long as it does. No call is waited for under the mutex.
struct known_tokens {
    std::mutex mutex;
    std::vector<token*> tokens;
};

known_tokens& _known() {
    static auto& known = *new known_tokens;
    return known;
}

void _pass(std::int64_t microseconds) {
    if (microseconds > 0) std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

int _told_retries(const personality& rules, int left, int before, bool failed) {
    switch (rules.retries_told) {
        case told_retries::left:
            return left;
        case told_retries::zero:
            return 0;
        case told_retries::untouched:
            return before;
        case told_retries::after_failure:
            return failed ? left : before;
    }
    return left;
}

// A call, from before it waits for its turn to its end.
class _turn {
public:
    explicit _turn(token& asked) : asked_(asked) { asked_.take_turn(); }
    ~_turn() { asked_.end_turn(); }
    _turn(const _turn&) = delete;
    _turn& operator=(const _turn&) = delete;

private:
    token& asked_;
};

}  // namespace

token::token(const std::string& directory, std::unique_ptr<open_token> open)
    : directory_(directory),
      plug_path_(plug_path(directory)),
      info_(open->info),
      behaviour_(open->behaviour),
      open_(std::move(open)) {
    note_listed(open_->plugged);
    std::lock_guard<std::mutex> lock(_known().mutex);
    _known().tokens.push_back(this);
}

void token::close_idle_except(const token* asking) {
    std::lock_guard<std::mutex> lock(_known().mutex);
    for (token* each : _known().tokens) {
        if (each != asking) each->close_if_idle();
    }
}

bool token::is_open_in(const std::string& directory, const plug& present) {
    std::lock_guard<fair_mutex> lock(mutex_);
    if (directory_ != directory || open_ == nullptr || !open_->usable(present)) return false;
    note_listed(present);
    if (!open_->plugged.same_settings(present)) open_->read_settings(present);
    know(*open_);
    return true;
}

bool token::lies_beside(const std::string& directory) {
    std::lock_guard<fair_mutex> lock(mutex_);
    std::filesystem::path here(directory_);
    std::filesystem::path there(directory);
    if (here == there || here.parent_path() != there.parent_path()) return false;
    try {
        opened();
        return true;
    } catch (const failure&) {
        return false;
    }
}

void token::settle(const std::string& directory, std::unique_ptr<open_token> open) {
    std::lock_guard<fair_mutex> lock(mutex_);
    close();
    directory_ = directory;
    plug_path_ = plug_path(directory);
    take(std::move(open));
    note_listed(open_->plugged);
}

void token::take(std::unique_ptr<open_token> open) {
    if (closed_plug_ && open->plugged == *closed_plug_ &&
        open->plugged.same_settings(*closed_plug_)) {
        open->faults = std::move(closed_faults_);
    }
    open_ = std::move(open);
    know(*open_);
}

void token::close() {
    // A connection that a parent process opened is left alone: closing it would disturb the parent.
    // So is one whose descriptors are other files now: closing it would close those.
    if (open_ != nullptr && !open_->is_own()) {
        if (open_->process == getpid()) held_files::give_up(database_path(open_->directory));
        static_cast<void>(open_.release());
    }
    if (open_ == nullptr) return;
    closed_faults_ = std::move(open_->faults);
    closed_plug_ = open_->plugged;
    open_.reset();
}

open_token& token::opened() {
    std::optional<plug> present = find_plug(plug_path_);
    if (present && open_ != nullptr && open_->usable(*present)) {
        if (!open_->plugged.same_settings(*present)) open_->read_settings(*present);
        know(*open_);
        return *open_;
    }
    close();
    if (!present) throw failure(error_code::removed);
    auto found =
        with_room(this, [&] { return std::make_unique<open_token>(directory_, *present); });
    if (found->info.uid != info_.uid) throw failure(error_code::removed);
    take(std::move(found));
    return *open_;
}

// Opens the token, lets its faults fire, and behaves as each call of it does.
open_token& token::start(running_call& call, handle_state& handle) {
    open_token* open = &opened();
    if (!open->faults.empty()) {
        fire_due_faults(call, *open);
        open = &opened();
    }
    call.follow(open->behaviour);
    note_asked(open->behaviour);
    behave(call, *open, handle);
    _pass(open->behaviour->call_microseconds);
    return *open;
}

void token::fire_due_faults(running_call& call, open_token& open) {
    const call_facts& facts = call.facts();
    for (const fault& due : open.faults.due(facts.function, facts.slot, true)) {
        // A transient fault is over before it does its work, which may be the end of the process.
        if (!due.lasting && !take_away(open, due)) continue;
        if (due.action == fault_action::unplug) pull_out(directory_);
        call.apply(due);
    }
}

// False when another process was faster: a transient fault fires once for all of them.
bool token::take_away(open_token& open, const fault& spent) {
    settings_lock lock(directory_);
    std::optional<plug> present = find_plug(plug_path_);
    bool knows_all = present && open.plugged.same_settings(*present);
    if (!remove_fault(directory_, spent.text)) return false;
    // What others changed meanwhile is still to be read; one's own change is not.
    if (knows_all) open.plugged = find_plug(plug_path_).value_or(open.plugged);
    return true;
}

void token::unplug() {
    std::lock_guard<fair_mutex> lock(mutex_);
    pull_out(directory_);
}

template <typename Inspect>
auto token::look(running_call& call, handle_state& handle, Inspect inspect) {
    _turn own(*this);
    return inspect(start(call, handle));
}

int token::type(running_call& call, handle_state& handle) {
    return look(call, handle,
                [](open_token& open) { return told_type(open.info, *open.behaviour); });
}

std::string token::serial_number(running_call& call, handle_state& handle) {
    return look(call, handle, [this](open_token& open) {
        return told_serial_number(open.info, *open.behaviour, serial_calls_++);
    });
}

std::string token::digest_name(running_call& call, handle_state& handle) {
    return look(call, handle, [](open_token& open) { return open.behaviour->digest; });
}

int token::slot_length(running_call& call, handle_state& handle, int id) {
    return look(call, handle,
                [id](open_token& open) { return behaving_slots(open).told_length(id); });
}

int token::read_slot(running_call& call, handle_state& handle, int id, unsigned char* buffer,
                     int buffer_size) {
    return look(call, handle, [&](open_token& open) {
        if (open.behaviour->login_to_read) require_login(open, handle);
        int length = behaving_slots(open).read(id, buffer, buffer_size);
        _pass(open.behaviour->transfer_microseconds(length));
        return length;
    });
}

login& token::login_of(const open_token& open, handle_state& handle) {
    return open.behaviour->login == login_scope::handle ? handle.verified : process_login_;
}

void token::require_login(const open_token& open, handle_state& handle) {
    if (open.behaviour->login == login_scope::none) return;
    if (login_of(open, handle).holds(open.plugged, *open.behaviour)) return;
    throw failure(error_code::not_logged_in);
}

void token::change_slots(running_call& call, handle_state& handle,
                         const std::function<void(behaving_slots&)>& require,
                         const std::function<void(behaving_slots&)>& change) {
    _turn own(*this);
    open_token& open = start(call, handle);
    require_login(open, handle);
    behaving_slots slots(open);
    // Bytes move before the change, during which others would have to wait; those of a call that
    // is refused never move.
    if (std::int64_t moving = open.behaviour->transfer_microseconds(call.facts().size);
        moving > 0) {
        require(slots);
        _pass(moving);
    }
    transaction changing(open.database);
    change(slots);
    call.before_commit();
    changing.commit();
    login_of(open, handle).count_change();
    call.after_commit();
}

void token::create_slot(running_call& call, handle_state& handle, int id,
                        const unsigned char* attributes, int size) {
    change_slots(
        call, handle, [&](behaving_slots& slots) { slots.require_creatable(id, attributes, size); },
        [&](behaving_slots& slots) { slots.create(id, attributes, size); });
}

void token::write_slot(running_call& call, handle_state& handle, int id, const void* data,
                       int length) {
    change_slots(
        call, handle, [&](behaving_slots& slots) { slots.require_writable(id, length); },
        [&](behaving_slots& slots) { slots.write(id, data, length, call.torn_bytes()); });
}

void token::delete_slot(running_call& call, handle_state& handle, int id) {
    change_slots(
        call, handle, [&](behaving_slots& slots) { slots.require_removable(id); },
        [&](behaving_slots& slots) { slots.remove(id); });
}

void token::verify_password(running_call& call, handle_state& handle, const char* password,
                            int& retries) {
    _turn own(*this);
    open_token& open = start(call, handle);
    const personality& rules = *open.behaviour;
    login& state = login_of(open, handle);
    if (rules.after_failed_login == failed_login::logs_out) state.end();
    int left = retries;
    try {
        // Its lock file is the first thing that it opens, and an attempt that comes to nothing is
        // handed back, so it can begin anew.
        with_room(this, [&] {
            check_password(open.database, open.passwords, directory_, password, left);
        });
    } catch (...) {
        retries = _told_retries(rules, left, retries, true);
        throw;
    }
    retries = _told_retries(rules, left, retries, false);
    state.begin(open.plugged);
}

int token::keypair_count(running_call& call, handle_state& handle) {
    return look(call, handle, [](open_token& open) { return open.keys.keypair_count(); });
}

std::int64_t token::keypair_at(running_call& call, handle_state& handle, int index) {
    return look(call, handle, [index](open_token& open) {
        std::optional<std::int64_t> found = open.keys.keypair_at(index);
        if (!found) throw failure(error_code::no_such_index);
        return *found;
    });
}

int token::certificate_count(running_call& call, handle_state& handle, std::int64_t keypair) {
    return look(call, handle,
                [keypair](open_token& open) { return open.keys.certificate_count(keypair); });
}

std::string token::certificate_at(running_call& call, handle_state& handle, std::int64_t keypair,
                                  int index) {
    return look(call, handle, [=](open_token& open) {
        std::optional<std::string> found = open.keys.certificate_at(keypair, index);
        if (!found) throw failure(error_code::no_such_index);
        return *found;
    });
}

void token::prepare_fork() {
    mutex_.hold_for_fork();
    close();
}

void token::close_if_idle() {
    std::unique_lock<fair_mutex> lock(mutex_, std::try_to_lock);
    if (lock.owns_lock()) close();
}

}  // namespace vemra::softtoken
