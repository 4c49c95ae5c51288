#pragma once

#include <string>

#include "model/stamp_library.h"

/** A stamp that nobody changes, and one that comes in versions. */
extern const new_stamp resting;
extern const char* const moving_name;

/** Versions differ in length and in their only letter. */
new_stamp stamp_version(int number);

/** A whole version, or what a slot holds between the calls of one write. */
bool is_whole_or_between(const std::string& bytes);
