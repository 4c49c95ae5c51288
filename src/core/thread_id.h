#ifndef CORE_THREAD_ID_H
#define CORE_THREAD_ID_H

namespace vemra::app::stamp {

/**
 * The kernel's id of the calling thread; one system call per thread, cached afterwards. For log
 * lines that want to tell threads apart; none does at present.
 */
int __gettid();

}  // namespace vemra::app::stamp

#endif
