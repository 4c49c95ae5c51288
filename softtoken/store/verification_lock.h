/** Password checks of one token, one at a time over all processes. */
#pragma once

#include <string>

namespace vemra::softtoken {

/*
 * Without it the counter, which is lowered before each comparison, would dip by as many as compare
 * at once, and right passwords could lock the token. The kernel releases the lock of a process that
 * dies. Waits as long as any call waits for another process, then throws busy.
 */
class verification_lock {
public:
    explicit verification_lock(const std::string& token_directory);
    ~verification_lock();
    verification_lock(const verification_lock&) = delete;
    verification_lock& operator=(const verification_lock&) = delete;

private:
    int file_;
};

}  // namespace vemra::softtoken
