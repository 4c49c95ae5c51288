#include "core/thread_id.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace vemra::app::stamp {

int __gettid() {
    static thread_local int thread_id = 0;
    if (thread_id == 0) thread_id = static_cast<int>(::syscall(SYS_gettid));
    return thread_id;
}

}  // namespace vemra::app::stamp
