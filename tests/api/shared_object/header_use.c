/* The public header, for compilers of C and of C++: it can be included twice, its records lie as
 * documented, and its functions have exactly these types. Compiled only, never run. */
#include "vemra_app_stamp.h"

#include <stddef.h>

/* Does not compile when the claim is false. */
#define CLAIM(name, holds) typedef char name[(holds) ? 1 : -1]
#define OFFSET(type, field, bytes) CLAIM(type##_##field##_offset, offsetof(type, field) == (bytes))

OFFSET(VEMRA_APP_STAMP_CONFIG, log_level, 0);
OFFSET(VEMRA_APP_STAMP_CONFIG, log_directory_length, 4);
OFFSET(VEMRA_APP_STAMP_CONFIG, log_directory, 8);
CLAIM(config_size, sizeof(VEMRA_APP_STAMP_CONFIG) == 8 + sizeof(void*));

OFFSET(VEMRA_APP_STAMP_RECORD, type, 0);
OFFSET(VEMRA_APP_STAMP_RECORD, name_length, 4);
OFFSET(VEMRA_APP_STAMP_RECORD, data_length, 8);
OFFSET(VEMRA_APP_STAMP_RECORD, data, 16);
OFFSET(VEMRA_APP_STAMP_RECORD, name, 16 + sizeof(void*));
OFFSET(VEMRA_APP_STAMP_RECORD, reserved, 16 + 2 * sizeof(void*));
OFFSET(VEMRA_APP_STAMP_RECORD, own_device, 16 + 3 * sizeof(void*));
CLAIM(record_size, sizeof(VEMRA_APP_STAMP_RECORD) == 16 + 4 * sizeof(void*));

CLAIM(type_is_32_bits, sizeof(((VEMRA_APP_STAMP_RECORD*)0)->type) == 4);
CLAIM(name_length_is_32_bits, sizeof(((VEMRA_APP_STAMP_RECORD*)0)->name_length) == 4);
CLAIM(data_length_is_64_bits, sizeof(((VEMRA_APP_STAMP_RECORD*)0)->data_length) == 8);
CLAIM(handles_are_pointers, sizeof(VEMRA_APP_STAMP_SET_HANDLE) == sizeof(void*) &&
                                sizeof(VEMRA_APP_STAMP_ENV_HANDLE) == sizeof(void*));

CLAIM(success, VEMRA_APP_STAMP_SUCCESS == 1);
CLAIM(failure, VEMRA_APP_STAMP_FAILURE == 0);
CLAIM(invalid_handle, VEMRA_APP_STAMP_INVALID_HANDLE == -1);
CLAIM(invalid_argument, VEMRA_APP_STAMP_INVALID_ARGUMENT == -2);
CLAIM(out_of_memory, VEMRA_APP_STAMP_OUT_OF_MEMORY == -3);
CLAIM(unsupported_type, VEMRA_APP_STAMP_UNSUPPORTED_TYPE == -4);
CLAIM(out_of_range, VEMRA_APP_STAMP_OUT_OF_RANGE == -5);
CLAIM(not_initialized, VEMRA_APP_STAMP_NOT_INITIALIZED == -6);
CLAIM(device_full, VEMRA_APP_STAMP_DEVICE_FULL == -7);
CLAIM(type_any, VEMRA_APP_STAMP_TYPE_ANY == -1);
CLAIM(type_reserved, VEMRA_APP_STAMP_TYPE_RESERVED == 0);
CLAIM(type_image, VEMRA_APP_STAMP_TYPE_IMAGE == 1);

struct all_functions {
    const char* (*get_version)(void);
    int (*get_last_error)(void);
    const char* (*get_error_message)(int);
    int (*free_memory)(void*);
    VEMRA_APP_STAMP_ENV_HANDLE (*env_initialize)(const VEMRA_APP_STAMP_CONFIG*);
    int (*env_get_configuration)(VEMRA_APP_STAMP_ENV_HANDLE, VEMRA_APP_STAMP_CONFIG*);
    int (*env_uninitialize)(VEMRA_APP_STAMP_ENV_HANDLE);
    VEMRA_APP_STAMP_SET_HANDLE (*get_all_stamps)(int, const char*, unsigned int, int);
    int (*free_stamps)(VEMRA_APP_STAMP_SET_HANDLE);
    int (*get_stamp_count)(VEMRA_APP_STAMP_SET_HANDLE, unsigned int*);
    int (*get_stamp)(VEMRA_APP_STAMP_SET_HANDLE, unsigned int, unsigned char**, unsigned int*,
                     VEMRA_APP_STAMP_RECORD**);
    int (*free_stamp)(VEMRA_APP_STAMP_RECORD*);
    int (*get_stamp_type)(const VEMRA_APP_STAMP_RECORD*, int*);
    int (*get_stamp_data)(const VEMRA_APP_STAMP_RECORD*, unsigned char**, unsigned long long*);
    int (*get_stamp_name)(const VEMRA_APP_STAMP_RECORD*, char**, unsigned int*);
    int (*get_stamp_own_device)(const VEMRA_APP_STAMP_RECORD*, char**, unsigned int*, int*);
    int (*append_stamp)(const char*, unsigned int, int, const char*, const VEMRA_APP_STAMP_RECORD*);
    int (*update_stamp)(const unsigned char*, unsigned int, const char*,
                        const VEMRA_APP_STAMP_RECORD*);
    int (*delete_stamp)(const unsigned char*, unsigned int, const char*);
};

struct all_functions functions = {
    VemraAppStampGetVersion,        VemraAppStampGetLastError,  VemraAppStampGetErrorMessage,
    VemraAppStampFreeMemory,        VemraAppStampEnvInitialize, VemraAppStampEnvGetConfiguration,
    VemraAppStampEnvUninitialize,   VemraAppStampGetAllStamps,  VemraAppStampFreeStamps,
    VemraAppStampGetStampCount,     VemraAppStampGetStamp,      VemraAppStampFreeStamp,
    VemraAppStampGetStampType,      VemraAppStampGetStampData,  VemraAppStampGetStampName,
    VemraAppStampGetStampOwnDevice, VemraAppStampAppendStamp,   VemraAppStampUpdateStamp,
    VemraAppStampDeleteStamp,
};
