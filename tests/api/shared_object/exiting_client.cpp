// Lists stamps and ends. The shared object releases its devices on the way out, and the fake looks
// when its turn comes, after that. Without an argument that ends with 0; with one, a device handle
// is left on purpose, which must not go unseen.

#include <string>

#include "support/fake_device_library.h"
#include "vemra_app_stamp.h"
#include "vemra_crypto.h"

int main(int argc, char** /*argv*/) {
    fake_device_library fake;
    fake.add_device("SN-1", 3);
    fake.fill_slot(8127, std::string("\x0e\0\0\0\x01Seal&8130", 14));
    const VEMRA_APP_STAMP_SET_HANDLE set = VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
    VemraAppStampFreeStamps(set);
    if (fake.live_devices() != 1) return 2;
    if (argc > 1) VemraPKICryptoGetPseudoDevice();
    fake.end_with_when_left_over(1);
    return 0;
}
