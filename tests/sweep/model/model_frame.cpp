#include "sweep/model/model_frame.h"

seen_call model_frame::ended() const {
    seen_call seen;
    seen.has_ended = true;
    seen.lines = lines_;
    return seen;
}

void model_frame::verbose(const std::string& message) {
    memory_.step();
    lines_.push_back(" [VERBOSE]  [" + function_ + "] " + message);
}

void model_frame::debug(const std::string& message) {
    memory_.step();
    lines_.push_back(" [DEBUG]    [" + function_ + "] " + message);
}

void model_frame::error(const std::string& message, const std::string& file,
                        const std::string& function) {
    memory_.step();
    lines_.push_back(" [ERROR]    [" + (function.empty() ? function_ : function) + "] " + message +
                     " (src/core/" + file + ":N)");
}
