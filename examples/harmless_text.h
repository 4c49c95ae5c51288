/** Text that comes from elsewhere and goes to a terminal, which obeys control characters. */
#pragma once

/** Tells whether there is a control character in a text, in ASCII or in UTF-8. */
int has_control_character(const char* text);

/** Puts a question mark in the place of every byte of a control character. */
void make_harmless(char* text);
