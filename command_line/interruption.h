/**
 * Signals that end or stop a program, taken by a thread of their own.
 *
 * Outside a hold the program ends at once with exit code 130: the terminal is put in order and the
 * temporary file of an unfinished output is removed. During a hold the signal waits, so that a
 * change on a device is never cut in two.
 */
#pragma once

#include <signal.h>
#include <termios.h>

#include <string>

#include "command_line/descriptor.h"

namespace vemra::interruption {

/** The exit status of a program that a signal ended. */
constexpr int interrupted_status = 130;

/**
 * Before any other thread starts: they all must leave these signals alone. A signal that is
 * ignored already, as under nohup, stays so.
 */
void start();

/** Lets a program that takes this one's place have its signals as they were before start. */
void give_back();

/** Whether a signal came during a hold. */
bool is_pending();

/** Keeps signals waiting while it lives. */
class hold {
public:
    hold();
    ~hold();
    hold(const hold&) = delete;
    hold& operator=(const hold&) = delete;
};

/**
 * Other settings of a terminal while a question stands there; what was typed before is thrown away.
 * It has its own back when this ends, and when a signal ends the program.
 */
class terminal_settings {
public:
    /** The question is not shown by this. */
    terminal_settings(int descriptor, const termios& original, const termios& wanted,
                      const std::string& question);
    ~terminal_settings();
    terminal_settings(const terminal_settings&) = delete;
    terminal_settings& operator=(const terminal_settings&) = delete;

    /**
     * Returns when something can be read, or the terminal is gone. A signal stops the program only
     * here, with the terminal's own settings. True when that happened: the question was shown
     * again, and what was read before is no part of the answer.
     */
    bool wait_for_answer() const;

private:
    bool is_to_stop() const;
    void stop() const;

    int terminal_;
    termios original_;
    termios wanted_;
    std::string question_;
    descriptor stop_;
};

/** Removes the file when this ends, or when a signal ends the program. */
class temporary_file {
public:
    explicit temporary_file(const std::string& path);
    ~temporary_file();
    temporary_file(const temporary_file&) = delete;
    temporary_file& operator=(const temporary_file&) = delete;
};

/** The signals that were blocked before start: for use with posix_spawnattr_setsigmask. */
sigset_t mask_before();
/** Those that vemra-stamp ignores: for use with posix_spawnattr_setsigdefault. */
sigset_t ignored_signals();

}  // namespace vemra::interruption
