/*
 * Opens the software token and the stamp library, named by the first two arguments, lists stamps,
 * and closes first the one that the third argument names, "token" or "stamps". The stamp library
 * still holds devices then. Prints the number of stamps on standard error, and "done".
 */
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "vemra_app_stamp.h"

namespace {

template <typename Function>
Function* _find(void* library, const char* name) {
    void* address = dlsym(library, name);
    if (address == nullptr) std::exit(2);
    return reinterpret_cast<Function*>(address);
}

void* _open(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(3);
    }
    return library;
}

void _list(void* stamps) {
    auto* all = _find<decltype(VemraAppStampGetAllStamps)>(stamps, "VemraAppStampGetAllStamps");
    auto* count = _find<decltype(VemraAppStampGetStampCount)>(stamps, "VemraAppStampGetStampCount");
    auto* free_all = _find<decltype(VemraAppStampFreeStamps)>(stamps, "VemraAppStampFreeStamps");
    VEMRA_APP_STAMP_SET_HANDLE set = all(-1, nullptr, 0, -1);
    unsigned int found = 0;
    if (count(set, &found) != 1) std::exit(4);
    std::fprintf(stderr, "%u\n", found);
    free_all(set);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 1;
    void* token = _open(argv[1]);
    void* stamps = _open(argv[2]);
    _list(stamps);
    bool token_first = std::string(argv[3]) == "token";
    dlclose(token_first ? token : stamps);
    dlclose(token_first ? stamps : token);
    std::fprintf(stderr, "done\n");
    return 0;
}
