#include "library/exclusive_use.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "store/token_owner.h"

namespace vemra::softtoken {

namespace {

// A program may close descriptors that it did not open, and get their numbers for files of its own.
bool _is_same_file(int file, const std::string& path) {
    struct stat held {};
    struct stat named {};
    return fstat(file, &held) == 0 && stat(path.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace

bool exclusive_use::is_ours(const std::string& token_directory) {
    const std::string path = token_directory + "/access.lock";
    if (file_ >= 0 && !_is_same_file(file_, path)) file_ = -1;
    if (file_ < 0) file_ = open_token_file(path);
    struct flock claim {};
    claim.l_type = F_WRLCK;
    claim.l_whence = SEEK_SET;
    claim.l_len = 1;
    if (fcntl(file_, F_SETLK, &claim) == 0) return true;
    give_back();
    return false;
}

void exclusive_use::give_back() {
    if (file_ >= 0) close(file_);
    file_ = -1;
}

}  // namespace vemra::softtoken
