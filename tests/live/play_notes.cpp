// play_notes DEVICE COUNT MILLISECONDS: plays so many notes, so long each, on the first output whose name
// contains DEVICE, says "played" and waits to be killed. Ends at the first note that fails; the exit code
// adds up what went wrong: 1 opening, 2 a note, 4 closing.

#include "midi/midi_out.h"
#include "midi/senders.h"
#include "midi/system.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>

int main(int argc, char** argv) {
    if (argc != 4) return 64;
    midi::midi_out_t port(midi::system_outputs());
    if (!port.open(argv[1])) return 1;
    bool played = true;
    for (int i = 0; i < std::atoi(argv[2]) && played; ++i) {
        played = midi::noteon(port, 1, 60, 1 + i % 127);
        std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(argv[3])));
    }
    std::cout << "played" << std::endl;
    if (played) std::this_thread::sleep_for(std::chrono::hours(1));
    const bool closed = port.close();
    return (played ? 0 : 2) + (closed ? 0 : 4);
}
