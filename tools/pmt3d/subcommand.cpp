#include "subcommand.h"

#include "libutils/report.h"

namespace tool {

int usage_error(const subcommand& command, std::string_view message) {
    libutils::report("pmt3d ", command.name, ": ", message, "\nusage: pmt3d ", command.name, ' ',
                     command.synopsis);
    return wrong_usage;
}

} // namespace tool
