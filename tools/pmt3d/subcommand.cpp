#include "subcommand.h"

#include "libutils/report.h"

namespace tool {

std::string usage(const subcommand& command) {
    std::string text = "usage: pmt3d ";
    text.append(command.name).append(command.options.empty() ? " " : " [OPTION...] ");
    return text.append(command.operands);
}

int usage_error(const subcommand& command, std::string_view message) {
    libutils::report("pmt3d ", command.name, ": ", message, '\n', usage(command));
    return wrong_usage;
}

} // namespace tool
