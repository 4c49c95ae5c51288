/** The few facts of an ELF file that decide which libraries a program loads. */
#pragma once

#include <string>

namespace vemra::softtoken::admin {

struct elf_facts {
    bool is_elf = false; /* of this machine's word size and byte order */
    std::string loader;  /* the program's dynamic loader; empty for a static program */
    std::string soname;  /* a library's own name; empty when it has none */
};

/* All empty for a file that cannot be read or is something else. */
elf_facts read_elf(const std::string& path);

}  // namespace vemra::softtoken::admin
