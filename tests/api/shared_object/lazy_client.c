/* Calls what needs no device function, or, with an argument, what needs only the device list.
 * Ends with 0 when every answer is the right one. */
#include <stdio.h>
#include <string.h>

#include "vemra_app_stamp.h"

static int failures = 0;

static void expect(int holds, const char* claim) {
    if (holds) return;
    fprintf(stderr, "not so: %s\n", claim);
    ++failures;
}

static void call_without_device_functions(void) {
    const unsigned char unknown[] = {1, 2, 3};
    VEMRA_APP_STAMP_CONFIG config;
    VEMRA_APP_STAMP_RECORD record;
    VEMRA_APP_STAMP_ENV_HANDLE environment = VemraAppStampEnvInitialize(NULL);

    memset(&record, 0, sizeof(record));
    expect(strcmp(VemraAppStampGetVersion(), "1.0.0.0") == 0, "the version is 1.0.0.0");
    expect(strcmp(VemraAppStampGetErrorMessage(1), "\346\210\220\345\212\237") == 0,
           "1 has a text");
    expect(VemraAppStampEnvGetConfiguration(environment, &config) == 1, "there are settings");
    expect(config.log_directory_length == 25, "the directory has 25 bytes");
    expect(VemraAppStampFreeMemory(config.log_directory) == 1, "the directory is released");
    expect(VemraAppStampEnvUninitialize(environment) == 1, "uninitializing works");
    expect(VemraAppStampFreeMemory(NULL) == -2, "null memory is -2");
    expect(VemraAppStampGetLastError() == -2, "the last status is -2");
    expect(VemraAppStampDeleteStamp(unknown, 3, NULL) == 0, "an unknown uuid is 0");
    expect(VemraAppStampAppendStamp("SN-1", 4, 3, NULL, &record) == -1, "an empty record is -1");
    expect(VemraAppStampGetAllStamps(9, NULL, 0, -1) == NULL, "type 9 gives no set");
    expect(VemraAppStampGetLastError() == -4, "type 9 is -4");
}

static void call_with_device_list(void) {
    expect(VemraAppStampGetAllStamps(-1, NULL, 0, -1) == NULL, "no device gives no set");
    expect(VemraAppStampGetLastError() == 0, "no device is 0");
}

int main(int argc, char** argv) {
    (void)argv;
    if (argc > 1) {
        call_with_device_list();
    } else {
        call_without_device_functions();
    }
    return failures == 0 ? 0 : 1;
}
