#define _POSIX_C_SOURCE 200809L
#include "seal_input.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "harmless_text.h"

const char* seal_name_fault(const char* name) {
    if (name[0] == '\0') return "it is empty";
    if (strchr(name, '&') != NULL) return "it contains \"&\"";
    if (strstr(name, "||") != NULL) return "it contains \"||\"";
    if (has_control_character(name)) return "it contains a control character";
    return NULL;
}

static unsigned char* read_all(FILE* file, size_t* size) {
    /* One byte more than allowed tells a file that is too long from one that just fits. */
    unsigned char* bytes = malloc((size_t)seal_size_limit + 1);
    if (bytes == NULL) return NULL;
    *size = fread(bytes, 1, (size_t)seal_size_limit + 1, file);
    if (!ferror(file) && *size > 0 && *size <= (size_t)seal_size_limit) return bytes;

    if (!ferror(file)) errno = *size == 0 ? ENODATA : EFBIG;
    free(bytes);
    return NULL;
}

unsigned char* read_whole_file(const char* path, size_t* size) {
    unsigned char* bytes = NULL;
    FILE* file = fopen(path, "rb");
    if (file == NULL) return NULL;
    bytes = read_all(file, size);
    fclose(file);
    return bytes;
}

static int write_all(int descriptor, const unsigned char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t written = write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return 0;
        bytes += written;
        size -= (size_t)written;
    }
    return 1;
}

int write_new_file(const char* path, const unsigned char* bytes, size_t size) {
    int is_written = 0;
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) return 0;
    is_written = write_all(descriptor, bytes, size);
    if (close(descriptor) != 0) is_written = 0;
    if (!is_written) {
        const int cause = errno;
        unlink(path);
        errno = cause;
    }
    return is_written;
}

static int read_line(char* buffer, size_t size) {
    size_t length = 0;
    if (fgets(buffer, (int)size, stdin) == NULL) return 0;
    length = strlen(buffer);
    if (length > 0 && buffer[length - 1] == '\n') {
        buffer[length - 1] = '\0';
        return 1;
    }
    return feof(stdin) != 0;
}

/* A signal between hiding and showing would leave the person with a terminal that shows nothing. */
static void hold_signals(sigset_t* before) {
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGINT);
    sigaddset(&held, SIGTERM);
    sigaddset(&held, SIGTSTP);
    sigprocmask(SIG_BLOCK, &held, before);
}

int read_password(char* buffer, size_t size) {
    struct termios visible;
    struct termios hidden;
    sigset_t signals;
    int is_read = 0;
    if (tcgetattr(STDIN_FILENO, &visible) != 0) return read_line(buffer, size);

    hidden = visible;
    hidden.c_lflag &= ~(tcflag_t)ECHO;
    fputs("Password of the token: ", stderr);
    hold_signals(&signals);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    is_read = read_line(buffer, size);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &visible);
    sigprocmask(SIG_SETMASK, &signals, NULL);
    fputs("\n", stderr);
    return is_read;
}
