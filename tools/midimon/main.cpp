// midimon [device]: lists the MIDI input devices, or prints what one of them receives until Ctrl-C.

#include "libutils/out_of_memory.h"
#include "libutils/report.h"
#include "midi/port_choice.h"
#include "midi/queued_input.h"
#include "midi/system.h"
#include "tools/midimon/describe.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

namespace {

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
    if (argc > 2) {
        libutils::report("usage: ", argv[0], " [device]");
        return 1;
    }
    if (argc < 2) return midi::listinputdevices(std::cout, midi::system_inputs()) ? 0 : 1;

    midi::queued_input input(midi::system_inputs());
    // Before the port opens: from then on there is something to close.
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    const midi::device_argument_t device = midi::parsedevice(argv[1]);
    if (!(device.has_name ? input.open(argv[1]) : input.open(static_cast<std::uint32_t>(device.number))))
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
