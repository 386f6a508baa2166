#pragma once
// The file that a save fills before it takes its place. As long as its process holds it, no other process
// takes it for one that a killed save has left behind.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string_view>

namespace libutils::unfinished_file {

// Creates a file that does not exist yet, and holds it. Null when that fails: it exists, or the folder cannot
// be written.
std::FILE* create(const std::filesystem::path& name, std::intptr_t& hold);
// Ends the hold, which outlasts the stream: a file that has been closed still has to be renamed or removed.
void let_go(std::intptr_t hold);
// Removes the files with these names that no process holds: the path's and a number behind it.
void remove_abandoned(const std::filesystem::path& unnumbered);

// Opens what is no ordinary file, to be written in place.
std::FILE* open_in_place(const std::filesystem::path& name);
// Whether this process may write an existing file.
bool may_write(const std::filesystem::path& name);
// Gives the file the other one's name, in whose place it comes.
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
