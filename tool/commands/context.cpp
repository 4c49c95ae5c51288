#include "commands/context.h"

namespace vemra::tool {

session& context::tokens() {
    if (session_ == nullptr)
        session_ =
            std::make_unique<session>(trace_, user, lock_rule{options.timeout, !options.no_lock});
    return *session_;
}

}  // namespace vemra::tool
