#pragma once

namespace vemra::app::stamp {

/**
 * Prints one fatal line with the signal's number, and returns.
 *
 * Kept(handler-returns): it neither ends the process nor restores the default action, so a real
 * fault repeats.
 * Printing is not safe in a signal handler; that is accepted.
 */
void segment_fault_signal_handler(int signal);

}  // namespace vemra::app::stamp
