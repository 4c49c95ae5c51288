/* Stands between a program and the library, and gives it no memory for the second seal of a set. */
#include <vemra_app_stamp.h>

int __real_VemraAppStampGetStamp(VEMRA_APP_STAMP_SET_HANDLE handle, unsigned int index,
                                 unsigned char** output_uuid, unsigned int* output_uuid_size,
                                 VEMRA_APP_STAMP_RECORD** output_stamp);
int __wrap_VemraAppStampGetStamp(VEMRA_APP_STAMP_SET_HANDLE handle, unsigned int index,
                                 unsigned char** output_uuid, unsigned int* output_uuid_size,
                                 VEMRA_APP_STAMP_RECORD** output_stamp);

int __wrap_VemraAppStampGetStamp(VEMRA_APP_STAMP_SET_HANDLE handle, unsigned int index,
                                 unsigned char** output_uuid, unsigned int* output_uuid_size,
                                 VEMRA_APP_STAMP_RECORD** output_stamp) {
    if (index == 1) return VEMRA_APP_STAMP_OUT_OF_MEMORY;
    return __real_VemraAppStampGetStamp(handle, index, output_uuid, output_uuid_size, output_stamp);
}
