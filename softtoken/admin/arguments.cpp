#include "admin/arguments.h"

namespace vemra::softtoken::admin {

void add_token_name(CLI::App& command, std::string& name) {
    command.add_option("TOKEN", name, "The token's name, as \"list\" shows it")->required();
}

}  // namespace vemra::softtoken::admin
