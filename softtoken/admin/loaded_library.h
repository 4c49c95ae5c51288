/** Which device library a program would load, asked of the program's own dynamic loader. */
#pragma once

#include <optional>
#include <string>

namespace vemra::softtoken::admin {

/*
 * The path of a device library other than the wanted one that the program would load in the present
 * environment, or nothing. The program is a file that the kernel loads, no script; it is not run.
 */
std::optional<std::string> other_device_library(const std::string& program,
                                                const std::string& wanted);

}  // namespace vemra::softtoken::admin
