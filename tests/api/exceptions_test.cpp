// What leaves the exported functions as a C++ exception, all functions in one table.

#include <csignal>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>

#include "api/api_test.h"

namespace {

struct traced_call {
    const char* name;
    std::function<void()> run;
};

// Arguments that are refused at once: the trace is all that these calls make.
const traced_call traced_calls[] = {
    {"GetVersion", [] { VemraAppStampGetVersion(); }},
    {"GetLastError", [] { VemraAppStampGetLastError(); }},
    {"GetErrorMessage", [] { VemraAppStampGetErrorMessage(0); }},
    {"FreeMemory", [] { VemraAppStampFreeMemory(nullptr); }},
    {"EnvGetConfiguration", [] { VemraAppStampEnvGetConfiguration(nullptr, nullptr); }},
    {"GetAllStamps", [] { VemraAppStampGetAllStamps(7, nullptr, 0, -1); }},
    {"FreeStamps", [] { VemraAppStampFreeStamps(nullptr); }},
    {"GetStampCount", [] { VemraAppStampGetStampCount(nullptr, nullptr); }},
    {"GetStamp", [] { VemraAppStampGetStamp(nullptr, 0, nullptr, nullptr, nullptr); }},
    {"FreeStamp", [] { VemraAppStampFreeStamp(nullptr); }},
    {"GetStampType", [] { VemraAppStampGetStampType(nullptr, nullptr); }},
    {"GetStampData", [] { VemraAppStampGetStampData(nullptr, nullptr, nullptr); }},
    {"GetStampName", [] { VemraAppStampGetStampName(nullptr, nullptr, nullptr); }},
    {"GetStampOwnDevice",
     [] { VemraAppStampGetStampOwnDevice(nullptr, nullptr, nullptr, nullptr); }},
    {"AppendStamp", [] { VemraAppStampAppendStamp(nullptr, 0, -1, nullptr, nullptr); }},
    {"UpdateStamp", [] { VemraAppStampUpdateStamp(nullptr, 0, nullptr, nullptr); }},
    {"DeleteStamp", [] { VemraAppStampDeleteStamp(nullptr, 0, nullptr); }},
};

class exceptions : public api_test {};

TEST_F(exceptions, of_memory_leave_every_function_that_traces) {
    const stdout_capture captured;
    for (const traced_call& call : traced_calls) {
        allocation_faults::fail_throwing(1, true);
        EXPECT_THROW(call.run(), std::bad_alloc) << call.name;
        allocation_faults::stop();
    }
    // Not even an exit line: there was no memory for the entry line.
    EXPECT_EQ(captured.text(), "");
}

TEST_F(exceptions, of_memory_leave_initialize_but_never_uninitialize) {
    std::string directory = "/a directory/whose components are too long to be kept inside";
    const VEMRA_APP_STAMP_CONFIG config{0, static_cast<int>(directory.size()), directory.data()};
    const VEMRA_APP_STAMP_ENV_HANDLE handle = VemraAppStampEnvInitialize(nullptr);
    allocation_faults::fail_throwing(1, true);
    EXPECT_THROW(VemraAppStampEnvInitialize(&config), std::bad_alloc);
    EXPECT_EQ(VemraAppStampEnvUninitialize(handle), 1);
    EXPECT_EQ(VemraAppStampEnvUninitialize(nullptr), -1);
    allocation_faults::stop();
    for (const int number : {SIGILL, SIGSEGV, SIGABRT})
        std::signal(number, SIG_DFL);
}

TEST_F(exceptions, of_length_leave_get_stamp_data_of_a_record_that_no_text_can_hold) {
    std::string name = "Seal";
    std::string data = "hello";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    record.data_length = 1ULL << 62;
    unsigned char* bytes = nullptr;
    unsigned long long size = 0;
    const stdout_capture unseen;
    EXPECT_THROW(VemraAppStampGetStampData(&record, &bytes, &size), std::length_error);
}

TEST_F(exceptions, of_the_device_library_that_are_not_standard_leave_a_listing) {
    add_device_with("Seal&8130");
    fake.fail_function("VemraPKICryptoReadData", 1, fault::throwing_int());
    const stdout_capture captured;
    EXPECT_THROW(VemraAppStampGetAllStamps(-1, nullptr, 0, -1), int);
    EXPECT_EQ(captured.lines().back(),
              " [VERBOSE]  [VemraAppStampGetAllStamps] <<<< VemraAppStampGetAllStamps");
}

}  // namespace
