/** What one handle of a caller's is to the token behind it. */
#pragma once

#include "library/login.h"
#include "store/plug.h"

namespace vemra::softtoken {

/* A copy is a handle of its own. */
struct handle_state {
    login verified;
    /* How the token was plugged in when it was last listed before the handle came; never freed. */
    const plug* listed = nullptr;
};

}  // namespace vemra::softtoken
