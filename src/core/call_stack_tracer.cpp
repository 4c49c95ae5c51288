#include "core/call_stack_tracer.h"

#include "core/log.h"

namespace vemra::app::stamp {

call_stack_tracer::call_stack_tracer(const char* name) : name_(name) {
    print_line<log_level::verbose>(name_, ">>>> %s", name_);
}

call_stack_tracer::~call_stack_tracer() {
    print_line<log_level::verbose>(name_, "<<<< %s", name_);
}

}  // namespace vemra::app::stamp
