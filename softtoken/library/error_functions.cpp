/** The exported functions for memory and errors. */
#include <cstdlib>

#include "library/call.h"
#include "library/exports.h"

using namespace vemra::softtoken;

int VemraPKICryptoFreeMemory(void* memory) {
    std::free(memory);
    return static_cast<int>(error_code::success);
}

int VemraPKIGetLastError(void) {
    return last_error();
}

const char* VemraPKIGetErrorMsg(int code) {
    return told_error_text(code);
}
