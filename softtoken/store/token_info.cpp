#include "store/token_info.h"

namespace vemra::softtoken {

const char* name_of(login_scope scope) noexcept {
    switch (scope) {
        case login_scope::process:
            return "process";
        case login_scope::handle:
            return "handle";
        case login_scope::none:
            return "none";
    }
    return "unknown";
}

std::optional<login_scope> login_scope_from(const std::string& name) {
    for (auto scope : {login_scope::process, login_scope::handle, login_scope::none}) {
        if (name == name_of(scope)) return scope;
    }
    return std::nullopt;
}

}  // namespace vemra::softtoken
