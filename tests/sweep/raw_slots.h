#pragma once

#include <map>
#include <set>
#include <string>

/* The slots of an attached device, asked of the device library itself. */

/** Those from 8126 to 8139 that exist. */
std::map<int, std::string> raw_slots(int device = 0);
/** Creates and fills slots of the first device. */
void fill_raw_slots(const std::map<int, std::string>& slots);
/** Deletes slots of the first device. */
void erase_raw_slots(const std::set<int>& slots);
