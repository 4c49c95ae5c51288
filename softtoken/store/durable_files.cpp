#include "store/durable_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "store/descriptor_limit.h"
#include "store/failure.h"

namespace vemra::softtoken {

void fail_with_errno(const std::string& path) {
    if (is_descriptor_limit(errno)) throw out_of_descriptors(path, errno);
    throw failure(error_code::storage_failed, path + ": " + std::strerror(errno));
}

void sync_directory(const std::string& path) {
    int directory = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) fail_with_errno(path);
    int result = fsync(directory);
    close(directory);
    if (result != 0) fail_with_errno(path);
}

}  // namespace vemra::softtoken
