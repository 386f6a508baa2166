// The model tool: one program, one subcommand per job.

#include "libutils/error_report.h"
#include "libutils/out_of_memory.h"
#include "libutils/report.h"
#include "manual.h"
#include "model_file.h"
#include "subcommand.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <string_view>

namespace {

using namespace tool;

// In the order of the help.
const subcommand* const subcommands[] = {
    &info, &dump, &check, &convert, &render_picture, &image, &eval,
};

constexpr option options[] = {
    {"--vertices", "N",
     "the NURBS surfaces of a model file may have N vertices together, should that be more than its size "
     "allows"},
};

void print_help(std::ostream& os) {
    os << "usage: pmt3d [OPTION...] SUBCOMMAND [ARGUMENT...]\n"
          "       pmt3d SUBCOMMAND --help\n\n"
          "Subcommands:\n";
    std::size_t widest = 0;
    for (const subcommand* s : subcommands)
        widest = std::max(widest, s->name.size());
    for (const subcommand* s : subcommands)
        os << "  " << s->name << std::string(widest - s->name.size() + 2, ' ') << s->summary << '\n';
    os << '\n';
    print_options(os, options);
    os << "\nExit status: 0 done, 1 failed, 2 wrong usage.\n";
}

void print_help(std::ostream& os, const subcommand& command) {
    print_filled(os, usage(command));
    os << '\n';
    print_options(os, command.options);
    os << '\n';
    print_filled(os, command.details);
}

int run(const subcommand& command, arguments words) {
    const command_line line = parse(words, command.options);
    switch (line.wanted) {
    case command_line::wish::help:
        print_help(std::cout, command);
        return success;
    case command_line::wish::version:
        print_version(std::cout, "pmt3d");
        return success;
    case command_line::wish::wrong_usage:
        return usage_error(command, line.complaint);
    case command_line::wish::run:
        break;
    }
    return command.run(line);
}

// Not in the help: what the package needs.
bool print_for_packaging(arguments words) {
    constexpr command_table table = {options, subcommands};
    if (words.size() != 1) return false;
    if (words[0] == std::string_view("--man"))
        print_manual(std::cout, table);
    else if (words[0] == std::string_view("--completion"))
        print_completion(std::cout, table);
    else
        return false;
    return true;
}

int run(arguments words) {
    if (print_for_packaging(words)) return success;
    const command_line line = parse(words, options, operands::last);
    switch (line.wanted) {
    case command_line::wish::help:
        print_help(std::cout);
        return success;
    case command_line::wish::version:
        print_version(std::cout, "pmt3d");
        return success;
    case command_line::wish::wrong_usage:
        libutils::report("pmt3d: ", line.complaint);
        return wrong_usage;
    case command_line::wish::run:
        break;
    }
    if (const char* const text = line.value("--vertices")) {
        const std::optional<std::uint64_t> vertices = whole_number(text);
        if (!vertices) {
            libutils::report("pmt3d: --vertices takes a whole number.");
            return wrong_usage;
        }
        allow_vertices(*vertices);
    }
    if (line.operands.empty()) {
        libutils::error_report();
        print_help(std::cerr);
        return wrong_usage;
    }
    const std::string_view name = line.operands[0];
    const auto found = std::find_if(std::begin(subcommands), std::end(subcommands),
                                    [name](const subcommand* s) { return s->name == name; });
    if (found == std::end(subcommands)) {
        libutils::report("pmt3d: there is no subcommand \"", name, "\"; pmt3d --help lists them.");
        return wrong_usage;
    }
    return run(**found, arguments(line.operands).subspan(1));
}

} // namespace

int main(int argc, char** argv) {
    libutils::end_when_out_of_memory();
    const int code = run(arguments(argv, std::size_t(argc)).subspan(argc > 0 ? 1 : 0));
    // Results that nobody received are no success.
    if (std::cout.flush()) return code;
    libutils::report("pmt3d: writing to standard output failed.");
    return code == success ? failure : code;
}
