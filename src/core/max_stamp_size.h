#pragma once

#include "vemra_app_stamp.h"

extern "C" {

/**
 * Tells the advised maximum of a stamp's bytes, 16 MiB, which nothing enforces. Not exported.
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -2 output is NULL; 1 done.
 * Threads: any.
 * Logs: the arguments.
 */
int VemraAppStampEnvGetMaxStampSize(VEMRA_APP_STAMP_ENV_HANDLE handle, unsigned long long* output);
}
