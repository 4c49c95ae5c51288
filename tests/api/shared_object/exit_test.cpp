// What the end of the process releases, and in which order. Functions given to std::atexit run in
// between: each runs before what was there already when it was given is destroyed.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "support/stream_capture.h"
#include "vemra_app_stamp.h"

namespace {

const fake_device_library* seen_fake = nullptr;
long blocks_without_environment = 0;
long blocks_with_environment = 0;

template <typename Function>
Function* function_of(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

void look_first() {
    if (blocks_with_environment <= blocks_without_environment) return;
    if (allocation_faults::live_blocks() != blocks_with_environment) return;
    std::fputs("the environment is there\n", stderr);
}

void look_behind_the_environment() {
    if (allocation_faults::live_blocks() != blocks_without_environment) return;
    std::fputs("the environment is gone\n", stderr);
    if (seen_fake->calls().empty()) std::fputs("the device is kept\n", stderr);
}

void look_last() {
    for (const std::string& call : seen_fake->calls())
        std::fprintf(stderr, "%s\n", call.c_str());
    if (seen_fake->live_handles_and_buffers() == 0) std::fputs("nothing is left\n", stderr);
}

// Lists the stamp of a device, which makes its device kept until the end.
void list_stamps(void* library) {
    const auto list =
        function_of<decltype(VemraAppStampGetAllStamps)>(library, "VemraAppStampGetAllStamps");
    const auto release =
        function_of<decltype(VemraAppStampFreeStamps)>(library, "VemraAppStampFreeStamps");
    const stdout_capture unseen;
    release(list(-1, nullptr, 0, -1));
}

void make_environment(void* library) {
    function_of<decltype(VemraAppStampEnvInitialize)>(library,
                                                      "VemraAppStampEnvInitialize")(nullptr);
    for (const int number : {SIGILL, SIGSEGV, SIGABRT})
        std::signal(number, SIG_DFL);
}

[[noreturn]] void use_library_and_exit(fake_device_library& fake) {
    seen_fake = &fake;
    std::atexit(look_last);
    void* library = dlopen(LIBRARY, RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) std::abort();
    list_stamps(library);
    fake.clear_calls();

    blocks_without_environment = allocation_faults::live_blocks();
    std::atexit(look_behind_the_environment);
    make_environment(library);
    blocks_with_environment = allocation_faults::live_blocks();
    std::atexit(look_first);
    std::exit(0);
}

TEST(shared_object_DeathTest, at_exit_ends_its_environment_and_then_frees_its_devices_inside_out) {
    fake_device_library fake;
    fake.add_device("SN-1", 3);
    fake.add_keypair("SN-1", {"a certificate"});
    fake.fill_slot(8127, std::string("\x0e\0\0\0\x01Seal&8130", 14));
    EXPECT_EXIT(use_library_and_exit(fake), testing::ExitedWithCode(0),
                "^the environment is there\n"
                "the environment is gone\n"
                "the device is kept\n"
                "VemraPKICertFreeCert\\(SN-1/key 0/certificate 0\\)\n"
                "VemraPKICryptoFreeKeypair\\(SN-1/key 0\\)\n"
                "VemraPKICryptoFreeDevice\\(SN-1\\)\n"
                "nothing is left\n$");
}

}  // namespace
