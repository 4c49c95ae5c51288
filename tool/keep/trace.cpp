#include "keep/trace.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "basics/failure.h"
#include "command_line/descriptor.h"

namespace vemra::tool {

namespace {

constexpr std::string_view mask = "********";
constexpr std::string_view error_prefix = " [ERROR] ";
// A message can quote a whole damaged record; people need its beginning.
constexpr std::size_t longest_message = 500;

// Ours, so that it can be overwritten: what the library prints passes through it.
std::array<char, 65536> g_stdout_buffer;

void _append_masked(std::string& text, std::string_view printed, std::string_view password) {
    while (!password.empty()) {
        const std::size_t found = printed.find(password);
        if (found == std::string_view::npos) break;
        text.append(printed.substr(0, found));
        text.append(mask);
        printed.remove_prefix(found + password.size());
    }
    text.append(printed);
}

// "[function] message (file:line)" without the function and the position.
std::string _message_of(std::string_view line) {
    std::string text(line.substr(error_prefix.size()));
    const std::size_t start = text.find("] ");
    if (start != std::string::npos) text.erase(0, start + 2);
    const std::size_t position = text.rfind(" (");
    if (position != std::string::npos) text.erase(position);
    return text.size() > longest_message ? text.substr(0, longest_message) + "..." : text;
}

std::vector<std::string> _error_messages(const std::string& text) {
    std::vector<std::string> messages;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string_view line(text.data() + start, end - start);
        if (line.substr(0, error_prefix.size()) == error_prefix) {
            messages.push_back(_message_of(line));
        }
        start = end + 1;
    }
    return messages;
}

std::size_t _size_of(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

// A mapping instead of a copy: the pages go back to the system with the file's content.
class mapped_file {
public:
    explicit mapped_file(int file) : size_(_size_of(file)) {
        if (size_ > 0) pages_ = mmap(nullptr, size_, PROT_READ, MAP_SHARED, file, 0);
    }
    ~mapped_file() {
        if (is_mapped()) munmap(pages_, size_);
    }
    mapped_file(const mapped_file&) = delete;
    mapped_file& operator=(const mapped_file&) = delete;

    bool is_mapped() const { return pages_ != MAP_FAILED; }
    std::string_view view() const {
        return is_mapped() ? std::string_view(static_cast<const char*>(pages_), size_)
                           : std::string_view();
    }

private:
    std::size_t size_;
    void* pages_ = MAP_FAILED;
};

std::vector<std::string> _with_loss(std::vector<std::string> messages, bool is_whole) {
    if (!is_whole) messages.emplace_back("what the stamp library reported could not be kept whole");
    return messages;
}

}  // namespace

trace::trace()
    : original_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)),
      memory_(memfd_create("trace", MFD_CLOEXEC)) {
    if (original_ < 0 || memory_ < 0 || dup2(memory_, STDOUT_FILENO) < 0) {
        throw failure(exit_code::failed, "standard output cannot be set aside");
    }
    std::setvbuf(stdout, g_stdout_buffer.data(), _IOFBF, g_stdout_buffer.size());
}

trace::~trace() {
    close(original_);
    close(memory_);
    if (shown_on_ > STDERR_FILENO) close(shown_on_);
}

void trace::show_in_file(const std::string& path) {
    shown_on_ = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    struct stat status {};
    const bool is_open = shown_on_ >= 0 && fstat(shown_on_, &status) == 0;
    // A file that was there keeps its readers otherwise; a device is everybody's.
    if (!is_open || (S_ISREG(status.st_mode) && fchmod(shown_on_, 0600) != 0)) {
        throw failure(exit_code::usage, path + " cannot be written: " + strerror(errno));
    }
}

std::vector<std::string> trace::take(const secret& masked) {
    const std::lock_guard lock(mutex_);
    // A limit on the size of files, for example, holds for files in memory, too.
    const bool is_whole = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    __fpurge(stdout);
    std::clearerr(stdout);
    explicit_bzero(g_stdout_buffer.data(), g_stdout_buffer.size());
    if (_size_of(memory_) == 0) return _with_loss({}, is_whole);

    const mapped_file printed(memory_);
    if (!printed.is_mapped()) return _with_loss({}, false);
    std::string text;
    _append_masked(text, printed.view(), masked.view());
    if (ftruncate(memory_, 0) == 0) lseek(memory_, 0, SEEK_SET);

    if (shown_on_ >= 0) cut_ = !write_all(shown_on_, text) || cut_;
    return _with_loss(_error_messages(text), is_whole);
}

std::size_t trace::count(std::string_view text) {
    const std::lock_guard lock(mutex_);
    if (std::fflush(stdout) != 0) return 0;
    const mapped_file printed(memory_);
    std::size_t found = 0;
    for (std::size_t at = printed.view().find(text); at != std::string_view::npos;
         at = printed.view().find(text, at + text.size())) {
        ++found;
    }
    return found;
}

}  // namespace vemra::tool
