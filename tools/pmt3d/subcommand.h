#pragma once
// A subcommand of the tool. Each has a file of its own; main.cpp holds the table.

#include <span>
#include <string_view>

namespace tool {

// The command line after the subcommand's name.
using arguments = std::span<const char* const>;

// Exit codes of the program.
inline constexpr int success = 0;
inline constexpr int failure = 1;
inline constexpr int wrong_usage = 2;

struct subcommand {
    std::string_view name;
    std::string_view synopsis; // the arguments, as the help shows them
    std::string_view summary;  // one line for the list of all subcommands
    std::string_view details;  // whole lines, for the help of this one
    int (*run)(arguments);     // returns the exit code; not called for --help
};

extern const subcommand check;
extern const subcommand convert;
extern const subcommand dump;
extern const subcommand eval;
extern const subcommand image;
extern const subcommand info;
extern const subcommand render_picture;

// Reports what is wrong with the arguments and the correct usage. Returns wrong_usage.
int usage_error(const subcommand& command, std::string_view message);

} // namespace tool
