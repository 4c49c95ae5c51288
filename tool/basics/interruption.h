/**
 * Signals that end or stop the tool, taken by a thread of their own.
 *
 * Outside a hold the tool ends at once with exit code 130: the terminal is put in order and the
 * temporary file of an unfinished output is removed. During a hold the signal waits, so that a
 * change on a device is never cut in two.
 */
#pragma once

#include <signal.h>
#include <termios.h>

#include <string>

namespace vemra::tool::interruption {

/** Before any other thread starts: they all must leave these signals alone. */
void start();

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

/** Gives a terminal its settings back when this ends, or when a signal ends the tool. */
class terminal_settings {
public:
    terminal_settings(int descriptor, const termios& original);
    ~terminal_settings();
    terminal_settings(const terminal_settings&) = delete;
    terminal_settings& operator=(const terminal_settings&) = delete;

private:
    int descriptor_;
    termios original_;
};

/** Removes the file when this ends, or when a signal ends the tool. */
class temporary_file {
public:
    explicit temporary_file(const std::string& path);
    ~temporary_file();
    temporary_file(const temporary_file&) = delete;
    temporary_file& operator=(const temporary_file&) = delete;
};

/** Lets a child process have its signals: for use with posix_spawnattr_setsigmask. */
sigset_t no_signals();

}  // namespace vemra::tool::interruption
