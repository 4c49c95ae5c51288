/* A device library that can tell that there is no device, and nothing else. */
#include "vemra_crypto.h"

VEMRA_PKI_DEVICE_LIST_st* VemraPKICryptoGetAllDevices(int type, int flags) {
    (void)type;
    (void)flags;
    return 0;
}
