// midimon [device]: lists the MIDI input devices, or prints what one of them receives until Ctrl-C.

#include "libutils/out_of_memory.h"
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
#include <thread>

namespace {

std::atomic<bool> interrupted{false};

void interrupt(int) {
    interrupted = true;
}

void put_short(void* queue, std::uint32_t message, std::uint32_t time, std::uintptr_t) {
    const std::uint8_t bytes[3] = {std::uint8_t(message), std::uint8_t(message >> 8),
                                   std::uint8_t(message >> 16)};
    const std::size_t length = std::max<std::size_t>(midi::message_length(bytes[0]), 1);
    static_cast<midimon::event_queue*>(queue)->put(time, bytes, length);
}

void put_long(void* queue, const std::uint8_t* bytes, std::uint32_t count, std::uint32_t time) {
    static_cast<midimon::event_queue*>(queue)->put(time, bytes, count);
}

void print(midimon::event_queue& queue) {
    midimon::event event;
    while (queue.take(event))
        std::cout << midimon::line(event.milliseconds, event.bytes.data(), event.length) << std::endl;
    if (const std::size_t lost = queue.take_lost()) std::cerr << lost << " messages lost." << std::endl;
}

} // namespace

int main(int argc, char** argv) {
    libutils::end_when_out_of_memory();
    if (argc > 2) {
        std::cerr << "usage: " << argv[0] << " [device]" << std::endl;
        return 1;
    }
    if (argc < 2) return midi::listinputdevices(std::cout, midi::system_inputs()) ? 0 : 1;

    midimon::event_queue queue(4096);
    const midi::midi_listener_t listener{&queue, nullptr, nullptr, put_short, put_long};
    midi::midi_in_t port(midi::system_inputs(), &listener);
    // Before the port opens: from then on there is something to close.
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    const midi::device_argument_t device = midi::parsedevice(argv[1]);
    if (!(device.has_name ? port.open(argv[1]) : port.open(static_cast<std::uint32_t>(device.number))))
        return 1;
    while (!interrupted) {
        print(queue);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const bool closed = port.close();
    print(queue);
    return closed ? 0 : 1;
}
