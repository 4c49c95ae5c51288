#include "core/crash_handler.h"

#include "core/log.h"

namespace vemra::app::stamp {

void segment_fault_signal_handler(int signal) {
    VEMRA_LOG_FATAL("Segment fault, signal: %d.", signal);
}

}  // namespace vemra::app::stamp
