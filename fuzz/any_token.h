#pragma once

#include <string>

#include "fuzz_support.h"

/* Token files of any content. */

std::string content_of(const std::string& path);

/** Gives a new token slots: the same bytes in every run. */
void fill_token(const std::string& directory, const std::string& uid);
/** A key pair and a certificate, in name only. */
void add_certificate(const std::string& directory);

/**
 * The bytes of a token file: 'R' a file of its own, 'V' the good one, else the good one with some
 * bytes changed and perhaps its end cut off.
 */
std::string token_bytes(choices& input, char kind, const std::string& good);

/** Lets the rows of a sound file hold any numbers, or bytes in their place. */
void change_values(choices& input, const std::string& path);
