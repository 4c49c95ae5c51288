#include "commands/context.h"

#include "keep/loader.h"

namespace vemra::tool {

session& context::tokens() {
    if (session_ == nullptr) session_ = std::make_unique<session>(load_tokens(), trace_);
    return *session_;
}

}  // namespace vemra::tool
