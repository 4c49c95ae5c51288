#include "core/call_stack_tracer.h"

#include "core/log.h"

namespace vemra::app::stamp {

call_stack_tracer::call_stack_tracer(const char* name) : name_(name) {
    log_verbose(name_, ">>>> %s", name_);
}

call_stack_tracer::~call_stack_tracer() {
    log_verbose(name_, "<<<< %s", name_);
}

}  // namespace vemra::app::stamp
