// The model tool: one program, one subcommand per job.

#include "libutils/error_report.h"
#include "libutils/out_of_memory.h"
#include "libutils/report.h"
#include "model_file.h"
#include "subcommand.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <string>
#include <string_view>

namespace {

using namespace tool;

// In the order of the help.
const subcommand* const subcommands[] = {
    &info, &dump, &check, &convert, &render_picture, &image, &eval,
};

void print_help(std::ostream& os) {
    os << "usage: pmt3d SUBCOMMAND [ARGUMENT...]\n"
          "       pmt3d SUBCOMMAND --help\n\n"
          "Subcommands:\n";
    std::size_t widest = 0;
    for (const subcommand* s : subcommands)
        widest = std::max(widest, s->name.size());
    for (const subcommand* s : subcommands)
        os << "  " << s->name << std::string(widest - s->name.size() + 2, ' ') << s->summary << '\n';
    os << R"(
pmt3d --vertices N SUBCOMMAND ... lets the NURBS surfaces of a model file have N vertices together, should that be more
than the size of the file allows.

Exit status: 0 done, 1 failed, 2 wrong usage.
)";
}

int run(arguments words) {
    if (words.empty()) {
        libutils::error_report();
        print_help(std::cerr);
        return wrong_usage;
    }
    if (words.size() >= 2 && std::string_view(words[0]) == "--vertices") {
        const std::string_view number = words[1];
        std::uint64_t vertices = 0;
        const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), vertices);
        if (error != std::errc() || end != number.data() + number.size()) {
            libutils::report("pmt3d: --vertices takes a whole number.");
            return wrong_usage;
        }
        allow_vertices(vertices);
        return run(words.subspan(2));
    }
    const std::string_view name = words[0];
    if (name == "--help") {
        print_help(std::cout);
        return success;
    }
    const auto found = std::find_if(std::begin(subcommands), std::end(subcommands),
                                    [name](const subcommand* s) { return s->name == name; });
    if (found == std::end(subcommands)) {
        libutils::report("pmt3d: there is no subcommand \"", name, "\"; pmt3d --help lists them.");
        return wrong_usage;
    }
    const subcommand& command = **found;
    words = words.subspan(1);
    if (!words.empty() && std::string_view(words[0]) == "--help") {
        std::cout << "usage: pmt3d " << command.name << ' ' << command.synopsis << "\n\n" << command.details;
        return success;
    }
    return command.run(words);
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
