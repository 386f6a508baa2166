#pragma once
// What a subcommand of the tool is. Each lives in a file of its own; main.cpp holds the table of all of them.

#include <span>
#include <string_view>

namespace tool {

// The words of the command line behind the subcommand's name.
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
    int (*run)(arguments);     // returns the exit code; asked for help it is not called
};

extern const subcommand check;
extern const subcommand convert;
extern const subcommand dump;
extern const subcommand eval;
extern const subcommand image;
extern const subcommand info;
extern const subcommand render_picture;

// Reports what is wrong with the arguments, and how they should be. Returns wrong_usage.
int usage_error(const subcommand& command, std::string_view message);

} // namespace tool
