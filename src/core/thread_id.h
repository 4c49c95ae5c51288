#pragma once

namespace vemra::app::stamp {

/**
 * The kernel's id of the calling thread; one system call per thread, cached afterwards. For log
 * lines that want to tell threads apart; none does at present.
 */
int __gettid();

}  // namespace vemra::app::stamp
