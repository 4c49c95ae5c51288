/**
 * The note of a password attempt that is being made: one byte in the lock file of password checks,
 * written by whoever holds that lock.
 *
 * It is on disk before the password is compared and is cleared when the check has come to an end,
 * so what remains is of a process that was killed. The next check counts it down.
 */
#pragma once

#include <string>

namespace vemra::softtoken {

/* The file that is locked while a password is checked. */
std::string attempt_file(const std::string& token_directory);

/* Whether the note of an attempt stands there, of a running check or of one that was killed. */
bool is_attempt_noted(const std::string& token_directory);

/* For a file whose lock the caller holds. The first makes room for the note, durably. */
void prepare_note(int file, const std::string& token_directory);
bool is_attempt_noted(int file);
void clear_attempt(int file);

/*
 * One attempt. It is handed back when it is destroyed, and when the process ends in order before
 * that, unless it was kept: then its note stays until it is cleared.
 */
class noted_attempt {
public:
    /* Throws, and takes no attempt, unless the note is on disk. */
    explicit noted_attempt(int file);
    ~noted_attempt();
    noted_attempt(const noted_attempt&) = delete;
    noted_attempt& operator=(const noted_attempt&) = delete;

    /* From here on the note outlives this. */
    void keep();

private:
    int file_;
    bool is_kept_ = false;
};

}  // namespace vemra::softtoken
