#include "keep/loader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>

#include "basics/failure.h"

namespace vemra::tool {

namespace {

constexpr const char* stamp_library = "libvemra_app_stamp.so.1";
constexpr const char* device_library = "libvemra_crypto.so.1";
constexpr const char* device_module = "libvemra_stamp_device.so";

std::filesystem::path _program_directory() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

// All that the stamp library and the module call to list devices, their slots and their stamps.
constexpr std::array reading_functions{
    "VemraPKICertFreeCert",         "VemraPKICryptoFreeKeypair",
    "VemraPKICryptoGetCertificate", "VemraPKICryptoGetCertificateCount",
    "VemraPKICryptoGetKeypair",     "VemraPKICryptoGetKeypairCount",
    "VemraPKICryptoFreeDevice",     "VemraPKICryptoFreeHash",
    "VemraPKICryptoFreeMemory",     "VemraPKICryptoGetAllDevices",
    "VemraPKICryptoGetDataLength",  "VemraPKICryptoGetDevice",
    "VemraPKICryptoGetDeviceCount", "VemraPKICryptoGetSerialNumber",
    "VemraPKICryptoGetType",        "VemraPKICryptoHashFinal",
    "VemraPKICryptoHashUpdate",     "VemraPKICryptoNewHash",
    "VemraPKICryptoReadData",       "VemraPKIGetErrorMsg",
    "VemraPKIGetLastError"};
// What a change calls beside these.
constexpr std::array changing_functions{"VemraPKICryptoCreateData", "VemraPKICryptoDeleteData",
                                        "VemraPKICryptoVerifyPwd", "VemraPKICryptoWriteData"};

[[noreturn]] void _throw_lacking(const std::string& functions) {
    throw failure(exit_code::no_device,
                  std::string("the device library ") + device_library + " lacks " + functions +
                      ": it is of another version. Nothing was changed"
                      "\nInstall a newer device library, or run on the software token: "
                      "vemra-softtoken exec -- vemra-stamp ...");
}

[[noreturn]] void _throw_missing(const std::string& reason) {
    // Told here already when the loader was asked to resolve every name at once.
    const std::size_t lacking = reason.find("undefined symbol: VemraPKI");
    if (lacking != std::string::npos) _throw_lacking(reason.substr(reason.find("Vemra", lacking)));
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

// As a call would be resolved: in a preloaded library, or in one that the module needs.
template <typename Names>
std::string _unresolved(void* module, const Names& names) {
    std::string missing;
    for (const char* name : names) {
        if (dlsym(RTLD_DEFAULT, name) != nullptr || dlsym(module, name) != nullptr) continue;
        missing += (missing.empty() ? "" : ", ") + std::string(name);
    }
    return missing;
}

}  // namespace

void require_functions(reach wanted) {
    void* module = _open(_device_module_path());
    std::string missing = _unresolved(module, reading_functions);
    // Who has to be told of a version learns all that it lacks.
    if (wanted == reach::changing || !missing.empty()) {
        const std::string more = _unresolved(module, changing_functions);
        missing += (missing.empty() || more.empty() ? "" : ", ") + more;
    }
    if (!missing.empty()) _throw_lacking(missing);
}

std::unique_ptr<tokens> load_tokens() {
    _open(_stamp_library_path());
    void* module = _open(_device_module_path());
    auto* make = reinterpret_cast<make_tokens_function*>(dlsym(module, make_tokens_name));
    if (make == nullptr) _throw_missing(dlerror());
    return std::unique_ptr<tokens>(make());
}

}  // namespace vemra::tool
