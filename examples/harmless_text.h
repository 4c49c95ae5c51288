/** Text that comes from elsewhere and goes to a terminal, which obeys control characters. */
#ifndef HARMLESS_TEXT_H
#define HARMLESS_TEXT_H

/** Tells whether there is a control character in a text, in ASCII or in UTF-8. */
int has_control_character(const char* text);

/** Puts a question mark in the place of every byte of a control character. */
void make_harmless(char* text);

#endif
