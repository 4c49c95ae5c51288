/** The exported functions: the one place where names become visible outside the library. */
#pragma once

#pragma GCC visibility push(default)
#include "vemra_crypto.h"
#pragma GCC visibility pop
