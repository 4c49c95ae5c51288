#include "commands/context.h"

namespace vemra::tool {

session& context::tokens() {
    if (session_ == nullptr) session_ = std::make_unique<session>(trace_, user, options.timeout);
    return *session_;
}

}  // namespace vemra::tool
