// midimon [device]: lists the MIDI input devices, or prints what one of them receives until Ctrl-C.

#include "libutils/out_of_memory.h"
#include "libutils/report.h"
#include "midi/port_choice.h"
#include "midi/queued_input.h"
#include "midi/system.h"
#include "tools/command_line/command_line.h"
#include "tools/midimon/describe.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

namespace {

constexpr char usage[] = "usage: midimon [device]";
constexpr char details[] =
    R"(Prints a line for each MIDI message that the device sends, until Ctrl-C: the time
in seconds, the bytes in hexadecimal and what they mean. The device is a number
or any part of a name. Without it the devices are listed.
)";

std::atomic<bool> interrupted{false};

void interrupt(int) {
    interrupted = true;
}

void print(midi::queued_input& input) {
    midi::queued_message message;
    while (input.take(message))
        std::cout << midimon::line(message.milliseconds, message.bytes.data(), message.length) << std::endl;
    if (const std::size_t lost = input.take_lost()) libutils::report(lost, " messages lost.");
}

} // namespace

int main(int argc, char** argv) {
    libutils::end_when_out_of_memory();
    const tool::command_line line =
        tool::parse(tool::arguments(argv, std::size_t(argc)).subspan(argc > 0 ? 1 : 0), {});
    using wish = tool::command_line::wish;
    if (line.wanted == wish::help) {
        std::cout << usage << "\n\n";
        tool::print_filled(std::cout, details);
        std::cout << '\n';
        tool::print_options(std::cout, {});
        return 0;
    }
    if (line.wanted == wish::version) {
        tool::print_version(std::cout, "midimon");
        return 0;
    }
    if (line.wanted == wish::wrong_usage) {
        libutils::report("midimon: ", line.complaint, '\n', usage);
        return 1;
    }
    if (line.operands.size() > 1) {
        libutils::report(usage);
        return 1;
    }
    if (line.operands.empty()) return midi::listinputdevices(std::cout, midi::system_inputs()) ? 0 : 1;

    const char* const name = line.operands[0];
    midi::queued_input input(midi::system_inputs());
    // Before the port opens: from then on there is something to close.
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    const midi::device_argument_t device = midi::parsedevice(name);
    if (!(device.has_name ? input.open(name) : input.open(static_cast<std::uint32_t>(device.number))))
        return 1;
    while (!interrupted) {
        print(input);
        if (const auto news = input.news()) midi::report_news(input.name(), *news);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const bool closed = input.close();
    print(input);
    return closed ? 0 : 1;
}
