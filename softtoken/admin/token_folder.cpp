#include "admin/token_folder.h"

#include "admin/arguments.h"
#include "store/new_token.h"
#include "store/token_files.h"
#include "store/token_owner.h"

namespace vemra::softtoken::admin {

std::string directory_of(const std::string& name) {
    require_token_name(name);
    std::string root = root_directory();
    std::string directory = root + "/" + name;
    if (root.empty() || !identify(database_path(directory))) {
        throw command_failure(exit_failed, "no token \"" + name + "\" in " +
                                               (root.empty() ? "any directory" : root) +
                                               ": see \"vemra-softtoken list\"");
    }
    require_own_token(directory);
    return directory;
}

named_token::named_token(const std::string& name)
    : directory(directory_of(name)), database(database_path(directory)) {}

}  // namespace vemra::softtoken::admin
