#include "model/model_frame.h"

#include "support/expected_trace.h"

seen_call model_frame::ended() const {
    seen_call seen;
    seen.has_ended = true;
    seen.lines = lines_;
    return seen;
}

void model_frame::verbose(const std::string& message) {
    memory_.step();
    lines_.push_back(verbose_line(function_, message));
}

void model_frame::debug(const std::string& message) {
    memory_.step();
    lines_.push_back(debug_line(function_, message));
}

void model_frame::error(const std::string& message, const std::string& file,
                        const std::string& function) {
    memory_.step();
    lines_.push_back(error_line(function.empty() ? function_ : function, message, file));
}
