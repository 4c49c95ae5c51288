/**
 * An application in which stamps are optional: it looks for the stamp library at run time, says
 * what is missing, and works without. It is linked with neither library and needs the public
 * header for the types only.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <vemra_app_stamp.h>

static const char device_library[] = "libvemra_crypto.so.1";
static const char stamp_library[] = "libvemra_app_stamp.so.1";

/* The functions that this application uses. */
static struct {
    const char* (*version)(void);
    int (*last_error)(void);
    VEMRA_APP_STAMP_SET_HANDLE (*get_all)(int, const char*, unsigned int, int);
    int (*count)(VEMRA_APP_STAMP_SET_HANDLE, unsigned int*);
    int (*free_all)(VEMRA_APP_STAMP_SET_HANDLE);
} stamps;

/* The stamp library needs the device library: looking for that one first tells which is missing.
 * Lazy binding lets an older device library do that lacks a function never called. Nothing is
 * closed again: the libraries stay for the life of the process. */
static void* load(const char* what, const char* library) {
    void* handle = dlopen(library, RTLD_LAZY | RTLD_LOCAL);
    if (handle == NULL) {
        fprintf(stderr, "No stamps: %s is missing or cannot be loaded: %s\n", what, dlerror());
    }
    return handle;
}

static int resolve(void* handle, const char* name, void* function) {
    void* const address = dlsym(handle, name);
    if (address == NULL) {
        fprintf(stderr, "No stamps: %s lacks the function %s\n", stamp_library, name);
        return 0;
    }
    /* ISO C has no conversion from an object pointer to a function pointer; POSIX has the bytes. */
    memcpy(function, &address, sizeof(address));
    return 1;
}

static int load_stamps(void) {
    void* handle = NULL;
    if (load("the maker's device library", device_library) == NULL) return 0;
    handle = load("the stamp library", stamp_library);
    return handle != NULL && resolve(handle, "VemraAppStampGetVersion", &stamps.version) &&
           resolve(handle, "VemraAppStampGetLastError", &stamps.last_error) &&
           resolve(handle, "VemraAppStampGetAllStamps", &stamps.get_all) &&
           resolve(handle, "VemraAppStampGetStampCount", &stamps.count) &&
           resolve(handle, "VemraAppStampFreeStamps", &stamps.free_all);
}

/* Standard output belongs to the library's trace here; seal_demo shows how to part the two. */
static void report_stamps(void) {
    unsigned int count = 0;
    VEMRA_APP_STAMP_SET_HANDLE set = stamps.get_all(VEMRA_APP_STAMP_TYPE_ANY, NULL, 0, -1);
    if (set == NULL) {
        fprintf(stderr, "No stamps: no token can be read, status %d\n", stamps.last_error());
        return;
    }
    stamps.count(set, &count);
    stamps.free_all(set);
    fprintf(stderr, "Stamp library %s: %u stamps\n", stamps.version(), count);
}

int main(void) {
    if (load_stamps()) report_stamps();
    fputs("The application goes on.\n", stderr);
    return 0;
}
