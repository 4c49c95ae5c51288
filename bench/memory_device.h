#pragma once

#include <string>

/*
 * A device library that keeps everything in memory and does as little as possible: what stays is
 * the cost of the stamp library itself. Beside the device library's functions it has these. It is
 * for one thread.
 */

/** The number of attached devices, 1 at first. Serial numbers are "BENCH-0001" and so on. */
__attribute__((visibility("default"))) void memory_device_attach(int count);

/** Gives the first device another serial number, so that its stamps get other uuids. */
__attribute__((visibility("default"))) void memory_device_rename_first(int number);

/** Notes every call with its slot and size in `calls`, until called with null. */
__attribute__((visibility("default"))) void memory_device_note_calls(std::string* calls);
