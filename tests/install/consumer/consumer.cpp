#include <vemra_app_stamp.h>
#include <string>

int main() {
    if (std::string(VemraAppStampGetVersion()) != "1.0.0.0") return 1;
    if (VemraAppStampGetStampCount(nullptr, nullptr) != VEMRA_APP_STAMP_INVALID_HANDLE) return 2;
    return 0;
}
