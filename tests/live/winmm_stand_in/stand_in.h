#pragma once
// A winmm.dll for machines without MIDI hardware: it behaves as the system's does with the devices that the
// environment describes, and writes down every MIDI call. A program gets it by having it in its own
// directory.
//
// Environment (lists are separated by ';'):
//   QUENVAREL_WINMM_LOG      file to which each call is appended as one line: the function, its arguments, "
//   -> "
//                            and the result in decimal. Bytes are in hex. Handles are left out.
//   QUENVAREL_WINMM_OUTPUTS  names of the output devices; unset: one, "Stand-in Synth"; empty: none
//   QUENVAREL_WINMM_INPUTS   the same for the input devices; unset: one, "Stand-in Keys"
//   QUENVAREL_WINMM_FAIL     calls that fail: function=code, function#n=code only the n-th call of it,
//   counted
//                            from 1, or function#n+=code the n-th and all after it
//   QUENVAREL_WINMM_SLOW     calls that take their time: the same with milliseconds in place of the code
//   QUENVAREL_WINMM_BUSY     milliseconds for which an output device keeps the buffer of a long message, or
//                            "forever"
//   QUENVAREL_WINMM_INPUT    what an input device delivers from its start on, as words: bytes in hex are a
//                            message, a long one if they begin with f0; +n waits n milliseconds; more:bytes
//                            is a message that came while the receiver was behind; error:bytes an invalid one
//   QUENVAREL_WINMM_CONSOLE  file in which lines appear for what happens to the program's console: the
//   event's
//                            number in decimal, such as 0 for Ctrl-C and 2 when the console is closed

// The functions are defined here, not imported.
#define _WINMM_
#include <windows.h>
// After windows.h, which it does not include by itself.
#include <mmsystem.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace winmm_stand_in {

struct settings {
    std::vector<std::string> outputs, inputs;
    std::optional<std::chrono::milliseconds> busy; // none: forever
    std::vector<std::string> input;                // the words
};
const settings& configured();

// The environment variable.
std::string variable(const char* name, const char* otherwise);

// Appends a line to the log.
void note(const std::string& line);
std::string hex(const void* bytes, std::size_t count);

// Counts a call of the function and waits as long as it is to take. The code with which it is to fail, or
// none.
std::optional<MMRESULT> begin_call(const std::string& function);

// Carries out a call, unless it is to fail, and notes it.
template <class Action>
MMRESULT call(const std::string& function, const std::string& arguments, Action action) {
    const std::optional<MMRESULT> failure = begin_call(function);
    const MMRESULT result = failure ? *failure : action();
    note(function + (arguments.empty() ? "" : " " + arguments) + " -> " + std::to_string(result));
    return result;
}

// Fills the name field of a capabilities record.
template <class Capabilities>
MMRESULT describe(const std::vector<std::string>& names, UINT_PTR device, Capabilities* to) {
    if (device >= names.size()) return MMSYSERR_BADDEVICEID;
    *to = {};
    names[device].copy(to->szPname, sizeof to->szPname - 1);
    return MMSYSERR_NOERROR;
}

} // namespace winmm_stand_in
