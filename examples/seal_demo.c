/**
 * A first application: keeps seal pictures on security tokens.
 *
 *     seal_demo [--trace FILE] COMMAND ...
 *
 * The trace of the stamp library goes to FILE, which only its owner can read, or nowhere. Commands
 * that write read the token's password as one line from standard input, so that it stands in no
 * list of processes. Exit code: 0 done, 1 failed, 2 wrong use or a refused name.
 *
 * own_output keeps the trace apart, seal_input reads names, files and passwords, found_seal takes
 * seals out of the library's list, harmless_text sees to it that a name or serial number on a token
 * cannot command the terminal. This file is what an application does with them.
 *
 * Two things it leaves to who copies it: to take all seals of a token out before it changes one
 * [save-first], and to let one writer at a time at a token [one-writer].
 */
#define _POSIX_C_SOURCE 200809L
#include <errno.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "found_seal.h"
#include "harmless_text.h"
#include "own_output.h"
#include "seal_input.h"

enum { done = 0, failed = 1, wrong_use = 2 };

static FILE* output;

static const char* type_text(int type) {
    return type == VEMRA_APP_STAMP_TYPE_IMAGE ? "image" : "unknown";
}

static int say_error(const char* what) {
    fprintf(stderr, "seal_demo: %s: %s\n", what, strerror(errno));
    return failed;
}

/* What the token that holds a seal says of itself; the serial number is the caller's to free. */
static int ask_owner(const struct found_seal* seal, char** serial, int* type) {
    unsigned int length = 0;
    const int status = VemraAppStampGetStampOwnDevice(seal->record, serial, &length, type);
    if (status != VEMRA_APP_STAMP_SUCCESS) return say_failure("ask the token", status);
    if (*serial != NULL) make_harmless(*serial);
    return 1;
}

static int print_row(const struct found_seal* seal) {
    const VEMRA_APP_STAMP_RECORD* record = seal->record;
    char* serial = NULL;
    int device_type = 0;
    unsigned int name_length = 0;
    char* name = NULL;
    if (!ask_owner(seal, &serial, &device_type)) return failed;
    /* A record that was handed out is read-only: the name that is changed is a copy. */
    if (VemraAppStampGetStampName(record, &name, &name_length) != VEMRA_APP_STAMP_SUCCESS) {
        if (serial != NULL) VemraAppStampFreeMemory(serial);
        return failed;
    }
    make_harmless(name);
    fprintf(output, "%.12s  %-7s  %8llu  %-12s  %11d  %s\n", seal->uuid_text,
            type_text(record->type), record->data_length, serial != NULL ? serial : "", device_type,
            name);
    VemraAppStampFreeMemory(name);
    if (serial != NULL) VemraAppStampFreeMemory(serial);
    return done;
}

static int print_table(VEMRA_APP_STAMP_SET_HANDLE set) {
    unsigned int count = 0;
    unsigned int i = 0;
    int result = done;
    VemraAppStampGetStampCount(set, &count);
    fprintf(output, "%-12s  %-7s  %8s  %-12s  %11s  %s\n", "uuid", "type", "bytes", "device",
            "device type", "name");
    for (; i < count; ++i) {
        struct found_seal seal;
        const int status = take_seal(set, i, &seal);
        if (status != VEMRA_APP_STAMP_SUCCESS) {
            say_failure("take a seal out of the list", status);
            result = failed;
            continue;
        }
        if (print_row(&seal) != done) result = failed;
        free_seal(&seal);
    }
    return result;
}

static int list(char** arguments) {
    int result = done;
    VEMRA_APP_STAMP_SET_HANDLE set =
        VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, NULL, 0, -1);
    (void)arguments;
    if (set == NULL) {
        say_failure("list the tokens", VemraAppStampGetLastError());
        return failed;
    }
    result = print_table(set);
    VemraAppStampFreeStamps(set);
    return result;
}

/* Reads everything through the library's accessors; the record's own fields would do as well. */
static int print_details(const struct found_seal* seal) {
    int type = 0;
    int device_type = 0;
    unsigned int name_length = 0;
    char* name = NULL;
    char* serial = NULL;
    if (VemraAppStampGetStampType(seal->record, &type) != VEMRA_APP_STAMP_SUCCESS) return failed;
    if (VemraAppStampGetStampName(seal->record, &name, &name_length) != VEMRA_APP_STAMP_SUCCESS) {
        return failed;
    }
    if (!ask_owner(seal, &serial, &device_type)) {
        VemraAppStampFreeMemory(name);
        return failed;
    }
    make_harmless(name);
    fprintf(output, "uuid         %s\n", seal->uuid_text);
    fprintf(output, "name         %s\n", name);
    fprintf(output, "type         %s\n", type_text(type));
    fprintf(output, "bytes        %llu\n", seal->record->data_length);
    fprintf(output, "device       %s\n", serial != NULL ? serial : "");
    fprintf(output, "device type  %d\n", device_type);
    VemraAppStampFreeMemory(name);
    if (serial != NULL) VemraAppStampFreeMemory(serial);
    return done;
}

static int show(char** arguments) {
    struct found_seal seal;
    int result = done;
    if (!find_seal(arguments[0], &seal)) return failed;
    result = print_details(&seal);
    free_seal(&seal);
    return result;
}

static int save(char** arguments) {
    struct found_seal seal;
    unsigned char* bytes = NULL;
    unsigned long long size = 0;
    int result = done;
    if (!find_seal(arguments[0], &seal)) return failed;

    VemraAppStampGetStampData(seal.record, &bytes, &size);
    if (bytes == NULL) {
        fprintf(stderr, "seal_demo: the seal has no bytes, or memory is short\n");
        result = failed;
    } else {
        if (!write_new_file(arguments[1], bytes, (size_t)size)) result = say_error(arguments[1]);
        VemraAppStampFreeMemory(bytes);
    }
    free_seal(&seal);
    return result;
}

/* Fills a record of our own with a picture and a name; its data is the caller's to free. */
static int prepare_seal(char* name, const char* path, VEMRA_APP_STAMP_RECORD* record) {
    size_t size = 0;
    const char* fault = seal_name_fault(name);
    if (fault != NULL) {
        fprintf(stderr, "seal_demo: this name cannot be stored: %s\n", fault);
        return wrong_use;
    }
    memset(record, 0, sizeof(*record));
    record->type = VEMRA_APP_STAMP_TYPE_IMAGE;
    record->name = name;
    record->name_length = (unsigned int)strlen(name);
    record->data = read_whole_file(path, &size);
    record->data_length = size;
    return record->data != NULL ? done : say_error(path);
}

/* Where a write failed, the list of the token's seals can be lost with it, and the next seal to be
 * stored would overwrite one that is still there [put-back]. */
static void say_failed_change(const char* what, int status) {
    say_failure(what, status);
    if (status != VEMRA_APP_STAMP_FAILURE) return;
    fputs("seal_demo: list the seals before anything else; while one is missing, store none\n",
          stderr);
}

static int ask_password(char* buffer, size_t size) {
    if (read_password(buffer, size)) return 1;
    fprintf(stderr, "seal_demo: no password on standard input, or it is too long\n");
    return 0;
}

static int parse_device_type(const char* text, int* type) {
    char* end = NULL;
    long value = 0;
    errno = 0;
    value = strtol(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || value < 0 || value > INT_MAX) {
        fprintf(stderr, "seal_demo: %s is no device type\n", text);
        return 0;
    }
    *type = (int)value;
    return 1;
}

static int store(char** arguments) {
    const char* serial = arguments[0];
    char password[256];
    VEMRA_APP_STAMP_RECORD record;
    int device_type = 0;
    int status = 0;
    int result = done;
    if (!parse_device_type(arguments[1], &device_type)) return wrong_use;
    result = prepare_seal(arguments[2], arguments[3], &record);
    if (result != done) return result;

    if (ask_password(password, sizeof(password))) {
        status = VemraAppStampAppendStamp(serial, (unsigned int)strlen(serial), device_type,
                                          password, &record);
        if (status == VEMRA_APP_STAMP_DEVICE_FULL) {
            fprintf(stderr, "seal_demo: the token holds five seals already, it is full\n");
        } else if (status != VEMRA_APP_STAMP_SUCCESS) {
            say_failed_change("store the seal", status);
        }
    }
    free(record.data);
    return status == VEMRA_APP_STAMP_SUCCESS ? done : failed;
}

static int replace(char** arguments) {
    struct found_seal seal;
    char password[256];
    VEMRA_APP_STAMP_RECORD record;
    int status = 0;
    const int result = prepare_seal(arguments[1], arguments[2], &record);
    if (result != done) return result;

    if (find_seal(arguments[0], &seal)) {
        if (ask_password(password, sizeof(password))) {
            status = VemraAppStampUpdateStamp(seal.uuid, seal.uuid_size, password, &record);
            if (status != VEMRA_APP_STAMP_SUCCESS) say_failed_change("replace the seal", status);
        }
        free_seal(&seal);
    }
    free(record.data);
    return status == VEMRA_APP_STAMP_SUCCESS ? done : failed;
}

static int remove_seal(char** arguments) {
    struct found_seal seal;
    char password[256];
    int status = 0;
    if (!find_seal(arguments[0], &seal)) return failed;
    if (ask_password(password, sizeof(password))) {
        status = VemraAppStampDeleteStamp(seal.uuid, seal.uuid_size, password);
        if (status != VEMRA_APP_STAMP_SUCCESS) say_failed_change("remove the seal", status);
    }
    free_seal(&seal);
    return status == VEMRA_APP_STAMP_SUCCESS ? done : failed;
}

/* No stamp function needs the environment; an application may keep a log directory in it. Its crash
 * handler returns into the fault, so the default handlers are put back at once. */
static int about(char** arguments) {
    VEMRA_APP_STAMP_ENV_HANDLE environment = NULL;
    VEMRA_APP_STAMP_CONFIG config;
    (void)arguments;
    environment = VemraAppStampEnvInitialize(NULL);
    signal(SIGILL, SIG_DFL);
    signal(SIGSEGV, SIG_DFL);
    signal(SIGABRT, SIG_DFL);

    memset(&config, 0, sizeof(config));
    VemraAppStampEnvGetConfiguration(environment, &config);
    fprintf(output, "stamp library  %s\n", VemraAppStampGetVersion());
    fprintf(output, "log directory  %s\n",
            config.log_directory != NULL ? config.log_directory : "(none)");
    if (config.log_directory != NULL) VemraAppStampFreeMemory(config.log_directory);
    VemraAppStampEnvUninitialize(environment);
    return done;
}

static const struct command {
    const char* name;
    int argument_count;
    int (*run)(char** arguments);
    const char* arguments;
} commands[] = {
    {"list", 0, list, ""},
    {"show", 1, show, "SEAL"},
    {"save", 2, save, "SEAL FILE"},
    {"store", 4, store, "SERIAL TYPE NAME FILE"},
    {"replace", 3, replace, "SEAL NAME FILE"},
    {"remove", 1, remove_seal, "SEAL"},
    {"about", 0, about, ""},
};

static int say_usage(void) {
    size_t i = 0;
    for (; i < sizeof(commands) / sizeof(commands[0]); ++i) {
        fprintf(stderr, "%s seal_demo [--trace FILE] %s %s\n", i == 0 ? "usage:" : "      ",
                commands[i].name, commands[i].arguments);
    }
    fputs("SEAL is the beginning of a uuid. Writers read the password from standard input.\n",
          stderr);
    return wrong_use;
}

static const struct command* find_command(int count, char** words) {
    size_t i = 0;
    for (; count > 0 && i < sizeof(commands) / sizeof(commands[0]); ++i) {
        if (strcmp(words[0], commands[i].name) != 0) continue;
        return count - 1 == commands[i].argument_count ? &commands[i] : NULL;
    }
    return NULL;
}

int main(int argc, char** argv) {
    const char* trace_path = NULL;
    const struct command* command = NULL;
    int result = done;
    char** words = argv + 1;
    if (argc > 2 && strcmp(words[0], "--trace") == 0) {
        trace_path = words[1];
        words += 2;
    }
    command = find_command((int)(argv + argc - words), words);
    if (command == NULL) return say_usage();

    output = keep_own_output(trace_path);
    if (output == NULL) return say_error(trace_path != NULL ? trace_path : "standard output");
    result = command->run(words + 1);
    if (fclose(output) != 0) return say_error("standard output");
    return result;
}
