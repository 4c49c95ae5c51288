#define _POSIX_C_SOURCE 200809L
#include "own_output.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static int is_private_file(int descriptor) {
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

static int open_trace(const char* path) {
    int trace = -1;
    if (path == NULL) return open("/dev/null", O_WRONLY | O_CLOEXEC);
    trace = open(path, O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                 S_IRUSR | S_IWUSR);
    if (trace >= 0 && !is_private_file(trace)) {
        close(trace);
        errno = EACCES;
        return -1;
    }
    return trace;
}

FILE* keep_own_output(const char* trace_path) {
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    const int trace = own < 0 ? -1 : open_trace(trace_path);
    FILE* output = trace < 0 ? NULL : fdopen(own, "w");

    if (output != NULL && dup2(trace, STDOUT_FILENO) < 0) {
        fclose(output);
        output = NULL;
    } else if (output == NULL && own >= 0) {
        close(own);
    }
    if (trace >= 0) close(trace);
    /* Whole lines reach the file at once, so that a trace is still there after a crash. */
    setvbuf(stdout, NULL, _IOLBF, BUFSIZ);
    return output;
}
