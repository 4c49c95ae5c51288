#include "store/password_check.h"

#include <algorithm>

#include "store/attempt_note.h"
#include "store/failure.h"
#include "store/file_lock.h"

namespace vemra::softtoken {

namespace {

// Counts the attempt down whose note stands, and clears the note only then: an end in between
// counts it twice rather than not at all.
int _count_down(token_database& database, password_table& passwords, int note) {
    transaction changing(database);
    int left = std::max(passwords.retries().left - 1, 0);
    passwords.set_retries_left(left);
    changing.commit();
    clear_attempt(note);
    return left;
}

int _give_back_all(token_database& database, password_table& passwords) {
    transaction changing(database);
    int most = passwords.retries().most;
    passwords.set_retries_left(most);
    changing.commit();
    return most;
}

// A wrong password's attempt stays taken, whatever happens from here on.
bool _is_right(const password_hash& stored, std::string_view password, int note) {
    noted_attempt attempt(note);
    if (matches(stored, password)) return true;
    attempt.keep();
    return false;
}

}  // namespace

retry_counter attempts(password_table& passwords, const std::string& token_directory) {
    retry_counter counter = passwords.retries();
    if (counter.left > 0 && is_attempt_noted(token_directory)) --counter.left;
    return counter;
}

void give_back_attempts(token_database& database, password_table& passwords,
                        const std::string& token_directory) {
    file_lock no_check(attempt_file(token_directory));
    clear_attempt(no_check.descriptor());
    _give_back_all(database, passwords);
}

void check_password(token_database& database, password_table& passwords,
                    const std::string& token_directory, std::string_view password, int& retries) {
    retries = attempts(passwords, token_directory).left;
    // Without it the counter would dip by as many as compare at once, and right passwords could
    // lock the token.
    file_lock one_at_a_time(attempt_file(token_directory));
    int note = one_at_a_time.descriptor();
    retries = attempts(passwords, token_directory).left;
    prepare_note(note, token_directory);
    if (is_attempt_noted(note)) _count_down(database, passwords, note);
    if (retries <= 0) throw failure(error_code::locked);
    if (!_is_right(passwords.hash(), password, note)) {
        --retries;
        _count_down(database, passwords, note);
        throw failure(error_code::wrong_password);
    }
    retry_counter counter = passwords.retries();
    retries = counter.left < counter.most ? _give_back_all(database, passwords) : counter.most;
}

}  // namespace vemra::softtoken
