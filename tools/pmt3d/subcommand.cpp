#include "subcommand.h"

#include "libutils/error_report.h"

#include <iostream>

namespace tool {

int usage_error(const subcommand& command, std::string_view message) {
    libutils::error_report();
    std::cerr << "pmt3d " << command.name << ": " << message << "\nusage: pmt3d " << command.name << ' '
              << command.synopsis << '\n';
    return wrong_usage;
}

} // namespace tool
