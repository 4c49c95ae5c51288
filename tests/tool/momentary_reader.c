/*
 * Preloaded: somebody looks at each directory of a name of its own as soon as it is there, and
 * holds its lock, shared, for a moment.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdint.h>
#include <sys/file.h>
#include <unistd.h>

static void* look(void* opened) {
    const int directory = (int)(intptr_t)opened;
    usleep(300000);
    close(directory);
    return NULL;
}

char* mkdtemp(char* pattern) {
    pthread_t reader;
    char* (*make)(char* name_pattern);
    *(void**)(&make) = dlsym(RTLD_NEXT, "mkdtemp");
    char* path = make(pattern);
    if (path == NULL) return NULL;
    const int directory = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    flock(directory, LOCK_SH);
    if (pthread_create(&reader, NULL, look, (void*)(intptr_t)directory) == 0)
        pthread_detach(reader);
    return path;
}
