#include <stdio.h>
#include <string.h>
#include <vemra_app_stamp.h>

int main(void) {
    if (strcmp(VemraAppStampGetVersion(), "1.0.0.0") != 0) return 1;
    if (VemraAppStampGetStampCount(NULL, NULL) != VEMRA_APP_STAMP_INVALID_HANDLE) return 2;
    return 0;
}
