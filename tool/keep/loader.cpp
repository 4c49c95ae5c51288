#include "keep/loader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>

#include "basics/failure.h"

namespace vemra::tool {

namespace {

constexpr const char* stamp_library = "libvemra_app_stamp.so.1";
constexpr const char* device_library = "libvemra_crypto.so.1";
constexpr const char* device_module = "libvemra_stamp_device.so";

std::filesystem::path _program_directory() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

[[noreturn]] void _throw_missing(const std::string& reason) {
    if (reason.find(device_library) == std::string::npos) {
        throw failure(exit_code::no_device,
                      "the stamp library cannot be loaded: " + reason +
                          "\nThe installation of vemra-stamp is not whole; install it again.");
    }
    throw failure(exit_code::no_device,
                  std::string("the device library ") + device_library + " is missing: " + reason +
                      "\nInstall the maker's device library, or run on the software token: "
                      "vemra-softtoken exec -- vemra-stamp ...");
}

// The library that was installed together with this tool, else the system's.
std::string _stamp_library_path() {
    const std::filesystem::path own = _program_directory() / VEMRA_STAMP_LIBRARY_INSTALLED;
    return std::filesystem::exists(own) ? own.string() : stamp_library;
}

std::string _device_module_path() {
    const std::filesystem::path bin = _program_directory();
    const std::filesystem::path built = bin / VEMRA_PRIVATE_BUILT / device_module;
    if (std::filesystem::exists(built)) return built.lexically_normal();
    return (bin / VEMRA_PRIVATE_INSTALLED / device_module).lexically_normal();
}

// Never closed: the device library keeps threads and exit handlers of its own.
void* _open(const std::string& path) {
    void* library = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) _throw_missing(dlerror());
    return library;
}

}  // namespace

std::unique_ptr<tokens> load_tokens() {
    _open(_stamp_library_path());
    void* module = _open(_device_module_path());
    auto* make = reinterpret_cast<make_tokens_function*>(dlsym(module, make_tokens_name));
    if (make == nullptr) _throw_missing(dlerror());
    return std::unique_ptr<tokens>(make());
}

}  // namespace vemra::tool
