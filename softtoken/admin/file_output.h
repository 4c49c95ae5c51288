/** Files that the admin tool writes for the user, who alone may read them. */
#pragma once

#include <string>
#include <string_view>

namespace vemra::softtoken::admin {

/*
 * Makes the bytes a file of mode 0600, durable when it returns; one that is there is overwritten
 * and becomes private before the first byte arrives. A terminal, a pipe or a device just takes the
 * bytes. Throws storage_failed; half a file is removed then.
 */
void write_private_file(const std::string& path, std::string_view bytes);

}  // namespace vemra::softtoken::admin
