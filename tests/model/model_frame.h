#pragma once

#include <string>
#include <vector>

#include "model/model_devices.h"
#include "model/stamp_library.h"

/** What every exported function does around its work: the trace, the last status, the exit. */
class model_frame {
public:
    explicit model_frame(model_memory& memory) : memory_(memory) {}

    /** `initially` is what the outputs hold before the call. */
    template <typename Work>
    seen_call call(const std::string& function, Work work,
                   const std::vector<std::string>& initially = {});
    /** The same without a trace. */
    template <typename Work>
    seen_call untraced(Work work);
    void verbose(const std::string& message);
    void debug(const std::string& message);
    void error(const std::string& message, const std::string& file = "VEMRA_APP_STAMP.cpp",
               const std::string& function = {});

    /** Statuses are 1 in a new thread. */
    int last_status = 1;
    /** What the call gives out, kept when an exception leaves it too. */
    std::vector<std::string> outputs;
    /** The stamps that it lists, lost with an exception. */
    std::vector<seen_stamp> stamps;

private:
    template <typename Work>
    void perform(seen_call& seen, Work work);
    seen_call ended() const;

    model_memory& memory_;
    std::string function_;
    std::vector<std::string> lines_;
};

template <typename Work>
void model_frame::perform(seen_call& seen, Work work) {
    try {
        work();
    } catch (const device_failure& failure) {
        seen.escaped = failure.text;
        stamps.clear();
    } catch (const foreign_failure& failure) {
        seen.escaped = failure.text;
        stamps.clear();
    }
    seen.last_status = last_status;
    seen.outputs = outputs;
    seen.stamps = stamps;
}

template <typename Work>
seen_call model_frame::call(const std::string& function, Work work,
                            const std::vector<std::string>& initially) {
    function_ = function;
    lines_.clear();
    stamps.clear();
    outputs = initially;
    seen_call seen;
    bool is_entered = false;
    try {
        perform(seen, [&] {
            verbose(">>>> " + function);
            is_entered = true;
            seen.status = work();
            memory_.step();
            last_status = seen.status;
        });
    } catch (const process_end&) {
        return ended();
    }
    try {
        if (is_entered) verbose("<<<< " + function);
    } catch (const device_failure&) {
        return ended();
    }
    seen.lines = lines_;
    return seen;
}

template <typename Work>
seen_call model_frame::untraced(Work work) {
    stamps.clear();
    outputs.clear();
    seen_call seen;
    perform(seen, [&] { seen.status = work(); });
    return seen;
}
