#pragma once
// The file that a save writes before it replaces the old one. While its process holds it, other processes do
// not mistake it for a leftover of a killed save.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string_view>

namespace libutils::unfinished_file {

// Creates a file that does not exist yet, and holds it. Null when that fails: it exists, or the folder cannot
// be written.
std::FILE* create(const std::filesystem::path& name, std::intptr_t& hold);
// Ends the hold. It outlasts the stream, because a closed file still has to be renamed or removed.
void let_go(std::intptr_t hold);
// Removes the files named like the path and a number that no process holds.
void remove_abandoned(const std::filesystem::path& unnumbered);

// Opens a pipe or a device for writing.
std::FILE* open_in_place(const std::filesystem::path& name);
// Whether this process may write an existing file.
bool may_write(const std::filesystem::path& name);
// Renames the file, replacing the other one.
bool replace(const std::filesystem::path& from, const std::filesystem::path& to);

// Whether the name is that beginning and a number.
template <class Char>
bool is_numbered(std::basic_string_view<Char> name, std::basic_string_view<Char> beginning) {
    if (name.size() <= beginning.size() || !name.starts_with(beginning)) return false;
    name.remove_prefix(beginning.size());
    for (const Char c : name)
        if (c < '0' || c > '9') return false;
    return true;
}

} // namespace libutils::unfinished_file
