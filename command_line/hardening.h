/** What a program does first through which passwords pass. */
#pragma once

namespace vemra {

/**
 * No core file, and no debugger of another process of the user: they would have the passwords.
 * What cannot be written is an error that is told, not a signal that ends the process. And no file
 * that is opened later gets the number of a standard descriptor that was closed: reading the input
 * and writing the output fail, as they would have.
 *
 * A program that takes the process's place gets none of that, but for the signals.
 */
void harden();

/** Before another program takes the process's place: signals do what they did before. */
void give_back_signals();

}  // namespace vemra
