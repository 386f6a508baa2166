#pragma once
// A subcommand of the tool. Each has a file of its own; main.cpp holds the table.

#include "tools/command_line/command_line.h"

#include <span>
#include <string_view>

namespace tool {

// Exit codes of the program.
inline constexpr int success = 0;
inline constexpr int failure = 1;
inline constexpr int wrong_usage = 2;

struct subcommand {
    std::string_view name;
    std::string_view operands; // as the help shows them
    std::string_view summary;  // one line for the list of all subcommands
    std::span<const option> options;
    std::string_view details; // for the help of this one, filled when printed (see print_filled)
    int (*run)(
        const command_line&); // returns the exit code; called only for a line that is right by the table
};

extern const subcommand check;
extern const subcommand convert;
extern const subcommand dump;
extern const subcommand eval;
extern const subcommand image;
extern const subcommand info;
extern const subcommand render_picture;

// "usage: pmt3d NAME [OPTION...] OPERANDS".
std::string usage(const subcommand& command);

// Reports what is wrong with the arguments and the correct usage. Returns wrong_usage.
int usage_error(const subcommand& command, std::string_view message);

} // namespace tool
