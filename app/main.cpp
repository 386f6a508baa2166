// Start and end of the player.

#include "app/failure_notice.h"
#include "app/gluty.h"
#include "app/input_player.h"
#include "app/interrupt.h"
#include "app/options.h"
#include "app/program_path.h"
#include "app/quenvarel.h"
#include "libutils/out_of_memory.h"
#include "libutils/report.h"
#include "midi/midi_out.h"
#include "midi/port_choice.h"
#include "midi/soundfont.h"
#include "midi/system.h"

#include <GL/freeglut.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#ifdef _WIN32
#include <windows.h>
// After windows.h, which it does not include by itself.
#include <mmsystem.h>
#endif

namespace {

constexpr char window_title[] = "Quenvarel(TM) for MIDI Version " QUENVAREL_VERSION;

quenvarel::Quenvarel* application = nullptr;
quenvarel::input_player* inputs = nullptr;

void print_usage(const char* program_path) {
    std::cout << "usage: " << program_path << " [-c ch] [-p pgm] [-n notebase] [-l vel] <device>"
              << std::endl;
    midi::listdevices(std::cout, midi::system_outputs());
}

void print_manual(const char* program_path) {
    print_usage(program_path);
    quenvarel::list_options(std::cout);
#ifdef _WIN32
    std::cout << "manual: readme.txt" << std::endl;
#else
    std::cout << "manual: man quenvarel" << std::endl;
#endif
}

// The application still speaks to the port when it goes.
void end() {
    delete application;
    application = nullptr;
    if (inputs) inputs->leave();
    if (quenvarel::midi_port) quenvarel::midi_port->close();
}

void leave() {
    if (gems::registry) gems::registry->leavemainloop();
}

bool open_port(const char* device) {
    delete quenvarel::midi_port;
    quenvarel::midi_port = midi::midi_out_t::create(midi::system_outputs()).release();
    if (!quenvarel::midi_port) return libutils::report("midi_out_t allocate failed.");

    const midi::device_argument_t chosen = midi::parsedevice(device);
    const bool opened = chosen.has_name
                            ? quenvarel::midi_port->open(device)
                            : quenvarel::midi_port->open(static_cast<std::uint32_t>(chosen.number));
    if (opened) return true;
    libutils::report(device, ": midiout open() failed.");
    midi::listdevices(std::cout, midi::system_outputs());
    if (midi::lacks_soundfont())
        std::cout << "FluidSynth needs a SoundFont, such as that of the package fluid-soundfont-gm."
                  << std::endl;
    return false;
}

bool open_inputs(const std::vector<const char*>& devices) {
    if (devices.empty()) return true;
    inputs = new quenvarel::input_player(*quenvarel::midi_port, midi::system_inputs(),
                                         [] { gems::registry->call(); });
    for (const char* device : devices)
        if (!inputs->open(device)) {
            midi::listinputdevices(std::cout, midi::system_inputs());
            return false;
        }
    return true;
}

// GLUT cannot go on after an error, such as a display that it cannot open.
[[noreturn]] void on_window_error(const char* format, va_list arguments) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    libutils::report(text);
    std::exit(1);
}

} // namespace

int main(int argc, char** argv) {
    quenvarel::watch_failures();
    char first_device[] = "0";
    char* with_first_device[] = {argc > 0 ? argv[0] : nullptr, first_device, nullptr};
    const bool double_clicked = argc == 1 && quenvarel::is_double_clicked();
    if (argc < 2) {
        print_usage(argc == 1 ? argv[0] : "");
        if (!double_clicked) return 0;
        if (midi::system_outputs().device_count() == 0) {
            std::cout << "There is no MIDI device. Connect one and start the program again." << std::endl;
            return 0;
        }
        argc = 2;
        argv = with_first_device;
    }
    std::atexit(end);
    libutils::end_when_out_of_memory();

    quenvarel::options_t options;
    switch (quenvarel::read_options(argc, argv, options)) {
    case quenvarel::options_result::usage:
        print_usage(argv[0]);
        return 1;
    case quenvarel::options_result::refused:
        return 1;
    case quenvarel::options_result::unknown_option:
        quenvarel::list_options(std::cout);
        return 1;
    case quenvarel::options_result::version:
        std::cout << "Quenvarel " QUENVAREL_VERSION "\n";
        [[fallthrough]];
    case quenvarel::options_result::help:
        print_manual(argv[0]);
        return 0;
    case quenvarel::options_result::inputs:
        return midi::listinputdevices(std::cout, midi::system_inputs()) ? 0 : 1;
    case quenvarel::options_result::complete:
        break;
    }

    midi::add_soundfont_directory(quenvarel::model_base_path(argv[0]) + "pmt");
    if (options.soundfont && !midi::prefer_soundfont(options.soundfont)) {
        libutils::report(
            "--soundfont: Windows has no synthesizer of ours. Its devices bring their own sounds.");
        return 1;
    }
    quenvarel::install_interrupt_handler(leave);
    if (!open_port(options.device)) {
        if (double_clicked)
            std::cout << "To play on another one, type its number behind quenvarel.exe in a command window."
                      << std::endl;
        return 1;
    }
    if (!open_inputs(options.inputs)) return 1;
    if (gems::registry->leaving()) {
        quenvarel::forget_failures();
        return 0;
    }
#ifdef _WIN32
    timeGetTime();
    // That of an X server on the same machine, which GLUT would take for the name of a Windows display.
    _putenv("DISPLAY=");
#endif

    glutInitErrorFunc(on_window_error);
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_DOUBLE | GLUT_ALPHA | GLUT_DEPTH);

    application = new quenvarel::Quenvarel(argv[0], static_cast<signed char>(options.channel),
                                           static_cast<signed char>(options.program),
                                           static_cast<signed char>(options.notebase),
                                           static_cast<signed char>(options.velocity), options.program_given);
    if (options.by_places) application->play_by_places();
    if (inputs) application->play(*inputs);
    gems::registry->createwindow(application, application->choose(options.says, window_title));
    quenvarel::interrupts_are_noticed();
    gems::registry->mainloop();
    quenvarel::forget_failures();
    return 0;
}
