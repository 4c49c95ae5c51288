#pragma once

#include <string>
#include <vector>

#include "model/stamp_library.h"
#include "sweep/tokens.h"

/* The exported functions for tests with many threads or processes: only results, no trace. */

/** All stamps, or those of one device; their records are released. */
std::vector<seen_stamp> listed_stamps();
std::vector<seen_stamp> listed_stamps(const token& device);
int append_stamp(const token& device, const new_stamp& stamp);
int update_stamp(const std::string& uuid, const new_stamp& stamp);
int delete_stamp(const std::string& uuid);

/** Sends the trace of this process away for good; failures appear on standard error. */
void discard_trace();
