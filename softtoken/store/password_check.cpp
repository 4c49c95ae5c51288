#include "store/password_check.h"

#include "store/failure.h"
#include "store/file_lock.h"

namespace vemra::softtoken {

namespace {

// The attempts that were left before this one; the lowered counter is on disk when it returns.
int _take_attempt(token_database& database, password_table& passwords) {
    transaction changing(database);
    int left = passwords.retries().left;
    if (left <= 0) return 0;
    passwords.set_retries_left(left - 1);
    changing.commit();
    return left;
}

int _give_back_all(token_database& database, password_table& passwords) {
    transaction changing(database);
    int most = passwords.retries().most;
    passwords.set_retries_left(most);
    changing.commit();
    return most;
}

}  // namespace

void check_password(token_database& database, password_table& passwords,
                    const std::string& token_directory, std::string_view password, int& retries) {
    // Without it the counter would dip by as many as compare at once, and right passwords could
    // lock the token.
    file_lock one_at_a_time(token_directory + "/password.lock");
    int left = _take_attempt(database, passwords);
    retries = left > 0 ? left - 1 : 0;
    if (left == 0) throw failure(error_code::locked);
    if (!matches(passwords.hash(), password)) throw failure(error_code::wrong_password);
    retries = _give_back_all(database, passwords);
}

}  // namespace vemra::softtoken
