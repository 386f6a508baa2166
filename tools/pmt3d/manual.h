#pragma once
// The manual page and the completion for bash, made from the tables that the help is printed from.

#include "subcommand.h"

#include <iosfwd>
#include <span>

namespace tool {

struct command_table {
    std::span<const option> options; // of the program itself
    std::span<const subcommand* const> subcommands;
};

void print_manual(std::ostream& os, const command_table& table);
void print_completion(std::ostream& os, const command_table& table);

} // namespace tool
