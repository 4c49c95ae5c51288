#include "store/descriptor_limit.h"

#include <sys/resource.h>

#include <cerrno>

namespace vemra::softtoken {

namespace {

std::string _shown(rlim_t limit) {
    return limit == RLIM_INFINITY ? "any number" : std::to_string(limit);
}

std::string _explanation(int reason) {
    if (reason == ENFILE) {
        return "this machine has as many files open as fs.file-max allows: end other programs, or "
               "raise it with \"sysctl fs.file-max=NUMBER\"";
    }
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    return "this process may have no more than " + _shown(limit.rlim_cur) +
           " files open: raise the limit with \"ulimit -n NUMBER\", up to " +
           _shown(limit.rlim_max) + " here";
}

}  // namespace

bool is_descriptor_limit(int reason) noexcept {
    return reason == EMFILE || reason == ENFILE;
}

out_of_descriptors::out_of_descriptors(const std::string& path, int reason)
    : failure(error_code::storage_failed, path + ": " + _explanation(reason)) {}

}  // namespace vemra::softtoken
