// Any argument list, one argument a line: values in range or refused in one line, and the device that the
// rest of the line means.

#include "app/options.h"
#include "fuzz/target.h"
#include "midi/port_choice.h"
#include "support/recording_service.h"

#include <vector>

using fuzz::demand;

namespace {

std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    for (;;) {
        const std::size_t end = text.find('\n');
        const std::string line(text.substr(0, end));
        lines.emplace_back(line.c_str()); // an argument ends at a zero
        if (end == text.npos) return lines;
        text.remove_prefix(end + 1);
    }
}

void choose(const char* argument) {
    const midi::device_argument_t chosen = midi::parsedevice(argument);
    if (!chosen.has_name) {
        long long expected = -1; // of a lone minus sign
        if (argument[1] != '\0' || argument[0] != '-') {
            char* end = nullptr;
            expected = std::clamp<long long>(std::strtoll(argument, &end, 0), INT32_MIN, INT32_MAX + 1ll);
            expected -= argument[0] == '-';
            demand(*end == '\0', "a number is all of the argument");
        }
        expected = std::clamp<long long>(expected, INT32_MIN, INT32_MAX);
        demand(chosen.number == expected, "a device number is the C library's, less one behind a minus sign");
    } else {
        demand(chosen.number == 0, "a name comes without a number");
    }

    test_support::recording_service devices({"Synth A", "-1", "1a", ""});
    const fuzz::messages messages;
    const auto found = chosen.has_name
                           ? midi::choose_device(devices, argument)
                           : midi::choose_device(devices, static_cast<std::uint32_t>(chosen.number));
    demand(messages.lines() == !found, "a device that is not there is refused in one line");
    if (!found) return;
    demand(found->number < devices.names.size() && devices.names[found->number] == found->name,
           "what is chosen is in the list");
    if (chosen.has_name) demand(found->name.find(argument) != std::string::npos, "it has the name");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> lines = lines_of({reinterpret_cast<const char*>(data), size});
    std::vector<const char*> arguments{"quenvarel"};
    for (const std::string& line : lines)
        arguments.push_back(line.c_str());
    quenvarel::options_t options;
    quenvarel::options_result result;
    {
        const fuzz::messages messages;
        result = quenvarel::read_options(int(arguments.size()), arguments.data(), options);
        demand(messages.lines() == (result == quenvarel::options_result::refused ||
                                    result == quenvarel::options_result::unknown_option),
               "only what is refused is reported, in one line");
    }
    demand(options.channel < 16 && options.program < 128 && options.notebase < 128 && options.velocity < 128,
           "values are in range");
    const bool has_device = result == quenvarel::options_result::complete;
    demand(has_device == (options.device != nullptr), "a complete line has a device");
    if (!has_device) return 0;
    demand(std::find(arguments.begin() + 1, arguments.end(), options.device) != arguments.end(),
           "the device is one of the arguments");
    choose(options.device);
    return 0;
}
