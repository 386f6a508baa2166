// midimon [device]: lists the MIDI input devices, or prints what one of them receives until Ctrl-C.

#include "libutils/out_of_memory.h"
#include "libutils/report.h"
#include "midi/message.h"
#include "midi/midi_in.h"
#include "midi/port_choice.h"
#include "midi/system.h"
#include "tools/midimon/describe.h"
#include "tools/midimon/event_queue.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <string>
#include <thread>

namespace {

std::atomic<bool> interrupted{false};

void interrupt(int) {
    interrupted = true;
}

// What the listener is told, for the thread that prints it.
struct heard_t {
    midimon::event_queue messages{4096};
    std::atomic<midi::input_absence> absence{midi::input_absence::none};
};

void put_open(void* heard, std::uintptr_t, midi::midi_in_t*, std::uintptr_t) {
    static_cast<heard_t*>(heard)->absence = midi::input_absence::none;
}

void put_close(void* heard, std::uintptr_t, midi::midi_in_t*, std::uintptr_t absence) {
    static_cast<heard_t*>(heard)->absence = static_cast<midi::input_absence>(absence);
}

void put_short(void* heard, std::uint32_t message, std::uint32_t time, std::uintptr_t) {
    const std::uint8_t bytes[3] = {std::uint8_t(message), std::uint8_t(message >> 8),
                                   std::uint8_t(message >> 16)};
    const std::size_t length = std::max<std::size_t>(midi::message_length(bytes[0]), 1);
    static_cast<heard_t*>(heard)->messages.put(time, bytes, length);
}

void put_long(void* heard, const std::uint8_t* bytes, std::uint32_t count, std::uint32_t time) {
    static_cast<heard_t*>(heard)->messages.put(time, bytes, count);
}

void print(midimon::event_queue& queue) {
    midimon::event event;
    while (queue.take(event))
        std::cout << midimon::line(event.milliseconds, event.bytes.data(), event.length) << std::endl;
    if (const std::size_t lost = queue.take_lost()) libutils::report(lost, " messages lost.");
}

void report_absence(const std::string& device, midi::input_absence absence) {
    const char* const before = absence == midi::input_absence::service ? "The server of " : "";
    libutils::report(before, device, absence == midi::input_absence::none ? " is back." : " has gone.");
}

} // namespace

int main(int argc, char** argv) {
    libutils::end_when_out_of_memory();
    if (argc > 2) {
        libutils::report("usage: ", argv[0], " [device]");
        return 1;
    }
    if (argc < 2) return midi::listinputdevices(std::cout, midi::system_inputs()) ? 0 : 1;

    heard_t heard;
    const midi::midi_listener_t listener{&heard, put_open, put_close, put_short, put_long};
    midi::midi_in_t port(midi::system_inputs(), &listener);
    // Before the port opens: from then on there is something to close.
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    const midi::device_argument_t device = midi::parsedevice(argv[1]);
    if (!(device.has_name ? port.open(argv[1]) : port.open(static_cast<std::uint32_t>(device.number))))
        return 1;
    midi::input_absence reported = midi::input_absence::none;
    while (!interrupted) {
        print(heard.messages);
        const midi::input_absence absence = heard.absence;
        if (absence != reported) report_absence(port.name(), absence);
        reported = absence;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const bool closed = port.close();
    print(heard.messages);
    return closed ? 0 : 1;
}
