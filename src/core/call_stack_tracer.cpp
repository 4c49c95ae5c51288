#include "core/call_stack_tracer.h"

#include "core/log.h"

namespace vemra::app::stamp {

call_stack_tracer::call_stack_tracer(std::string_view name) : name_(name) {
    log_verbose(name_, ">>>> %s", name_.data());
}

call_stack_tracer::~call_stack_tracer() {
    log_verbose(name_, "<<<< %s", name_.data());
}

}  // namespace vemra::app::stamp
