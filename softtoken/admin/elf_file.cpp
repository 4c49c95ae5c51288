#include "admin/elf_file.h"

#include <elf.h>
#include <link.h>

#include <cstring>
#include <fstream>
#include <vector>

namespace vemra::softtoken::admin {

namespace {

using file_header = ElfW(Ehdr);
using segment = ElfW(Phdr);
using dynamic_entry = ElfW(Dyn);

constexpr unsigned char native_class = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr std::size_t longest_text = 4096;

template <typename T>
bool _read_at(std::ifstream& file, std::uint64_t position, T* values, std::size_t count) {
    file.clear();
    file.seekg(static_cast<std::streamoff>(position));
    file.read(reinterpret_cast<char*>(values), static_cast<std::streamsize>(count * sizeof(T)));
    return file.gcount() == static_cast<std::streamsize>(count * sizeof(T));
}

std::string _text_at(std::ifstream& file, std::uint64_t position) {
    file.clear();
    file.seekg(static_cast<std::streamoff>(position));
    std::string text;
    for (char byte = 0; text.size() < longest_text && file.get(byte) && byte != '\0';)
        text += byte;
    return text;
}

std::uint64_t _file_position(const std::vector<segment>& segments, std::uint64_t address) {
    for (const segment& part : segments) {
        if (part.p_type == PT_LOAD && address >= part.p_vaddr &&
            address - part.p_vaddr < part.p_filesz) {
            return address - part.p_vaddr + part.p_offset;
        }
    }
    return 0;
}

std::string _soname(std::ifstream& file, const std::vector<segment>& segments,
                    const segment& dynamic) {
    std::vector<dynamic_entry> entries(dynamic.p_filesz / sizeof(dynamic_entry));
    if (!_read_at(file, dynamic.p_offset, entries.data(), entries.size())) return {};
    std::uint64_t strings = 0;
    std::uint64_t name = 0;
    for (const dynamic_entry& entry : entries) {
        if (entry.d_tag == DT_NULL) break;
        if (entry.d_tag == DT_STRTAB) strings = entry.d_un.d_ptr;
        if (entry.d_tag == DT_SONAME) name = entry.d_un.d_val;
    }
    std::uint64_t position = _file_position(segments, strings);
    return position == 0 || name == 0 ? std::string() : _text_at(file, position + name);
}

}  // namespace

elf_facts read_elf(const std::string& path) {
    elf_facts facts;
    std::ifstream file(path, std::ios::binary);
    file_header header{};
    if (!file || !_read_at(file, 0, &header, 1)) return facts;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return facts;
    if (header.e_ident[EI_CLASS] != native_class || header.e_phentsize != sizeof(segment)) {
        return facts;
    }
    std::vector<segment> segments(header.e_phnum);
    if (!_read_at(file, header.e_phoff, segments.data(), segments.size())) return facts;
    facts.is_elf = true;
    for (const segment& part : segments) {
        if (part.p_type == PT_INTERP) facts.loader = _text_at(file, part.p_offset);
        if (part.p_type == PT_DYNAMIC) facts.soname = _soname(file, segments, part);
    }
    return facts;
}

}  // namespace vemra::softtoken::admin
