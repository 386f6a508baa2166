#pragma once
// The options of a tool as a table: what a command line says by it, and the help that is printed from it.

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Words of a command line.
using arguments = std::span<const char* const>;

// A row of the table. Every table has --help (-h) and --version without naming them.
struct option {
    std::string_view name;  // with its dashes
    std::string_view value; // what the help calls the value; empty: it has none. "mm|cm" lists all values
                            // there are: others are refused. A shell completes these, and files for "FILE".
    std::string_view help;  // begins in lower case, ends without a period; wrapped when printed
};

// A command line, taken apart.
struct command_line {
    enum class wish { run, help, version, wrong_usage };
    struct given_option {
        const option* row;
        const char* value; // empty for an option that has none
    };

    wish wanted = wish::run;
    std::string complaint;             // what is wrong, a sentence
    std::vector<given_option> options; // in the order of the line
    std::vector<const char*> operands;

    bool has(std::string_view name) const { return value(name) != nullptr; }
    // Of the last such option; null when there is none.
    const char* value(std::string_view name) const;
};

// Whether the first operand ends the options, as for a program with subcommands, or more may follow it.
enum class operands { mixed, last };

// Takes --name VALUE, --name=VALUE and, after "--", operands only. A word is an option when a letter follows
// its dashes: "-" and "-5" are operands. The table must live as long as the result.
command_line parse(arguments words, std::span<const option> table, operands where = operands::mixed);

// Values: the whole text must be one. Numbers are finite and decimal; `numbers` takes as many as there is
// room for, with commas between.
std::optional<std::uint64_t> whole_number(std::string_view text);
std::optional<float> number(const char* text);
bool numbers(const char* text, std::span<float> values);

// The part of the help that lists the options.
void print_options(std::ostream& os, std::span<const option> table);

// "1.2.3".
std::string_view program_version();
// "pmt3d (Quenvarel) 1.2.3".
void print_version(std::ostream& os, std::string_view program);

// Fills lines of a terminal. Lines of the text that begin with a blank stay as they are, those between are
// one paragraph. The cursor is at `column`; further lines are indented by `indent`.
void print_filled(std::ostream& os, std::string_view text, std::size_t indent = 0, std::size_t column = 0);

} // namespace tool
