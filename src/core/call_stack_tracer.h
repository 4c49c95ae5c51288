#pragma once

namespace vemra::app::stamp {

/**
 * Brackets a call in the trace: an entry line when it is made, an exit line when its scope ends,
 * exceptions included. `name` ends in a NUL, is kept by address and must outlive the object.
 *
 * If the exit line cannot be built, the process ends.
 */
class call_stack_tracer {
public:
    explicit call_stack_tracer(const char* name);
    ~call_stack_tracer();
    call_stack_tracer(const call_stack_tracer&) = delete;
    call_stack_tracer& operator=(const call_stack_tracer&) = delete;

private:
    const char* name_;
};

}  // namespace vemra::app::stamp
