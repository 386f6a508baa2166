#pragma once
// A winmm.dll for machines without MIDI hardware: it behaves as the system's does with the devices that the
// environment describes, and writes down every MIDI call. A program gets it by having it in its own
// directory.
//
// Environment variables, each beginning with QUENVAREL_WINMM_ (lists are separated by ';'):
//   LOG      the file to which each call is appended as one line: the function, its arguments, " -> " and the
//            result in decimal. Bytes are in hex. Handles are left out.
//   OUTPUTS  the names of the output devices; unset: one, "Stand-in Synth"; empty: none
//   INPUTS   the same for the input devices; unset: one, "Stand-in Keys"
//   FAIL     the calls that fail: function=code, or function#n=code for the n-th call of it only, from 1 on
//   SLOW     the calls that take their time: the same with milliseconds in place of the code
//   BUSY     for how many milliseconds an output device keeps the buffer of a long message, or "forever"
//   INPUT    what an input device delivers from its start on, as words: bytes in hex are a message, a long
//            one if they begin with f0; more:bytes one that came while the receiver was behind; error:bytes
//            an invalid one; wait:MS a pause; unplug:N what takes all input devices off the list for the
//            next N looks at it, at the first start only
//   CONSOLE  the file in which lines appear for what happens to the program's console: the event's number in
//            decimal, such as 0 for Ctrl-C and 2 when the console is closed

// The functions are defined here, not imported.
#define _WINMM_
#include <windows.h>
// After windows.h, which it does not include by itself.
#include <mmsystem.h>

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace winmm_stand_in {

// The environment variable.
std::string variable(const char* name, const char* otherwise);
// The parts that are not empty.
std::vector<std::string> split(const std::string& text, char separator);
std::string hex(const void* bytes, std::size_t count);
// Appends a line to the log.
void note(const std::string& line);

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

// What input and output have in common: a list of devices, one of which can be open and has buffers.
struct half {
    half(std::string half_name, const char* list, const char* otherwise)
        : name(std::move(half_name)),
          devices(split(variable(list, otherwise), ';')) {}

    const std::string name; // "midiIn"
    const std::vector<std::string> devices;
    std::mutex guard;
    bool opened = false;
    std::deque<MIDIHDR*> buffers;

    bool has(const MIDIHDR* header) const;
    virtual UINT count() const;
    virtual ~half() = default;
    template <class Capabilities>
    MMRESULT describe(UINT_PTR device, Capabilities* to, UINT size) const {
        return call(name + "GetDevCapsA", std::to_string(device), [&]() -> MMRESULT {
            if (size != sizeof *to) return MMSYSERR_INVALPARAM;
            if (device >= devices.size()) return MMSYSERR_BADDEVICEID;
            *to = {};
            devices[device].copy(to->szPname, sizeof to->szPname - 1);
            return MMSYSERR_NOERROR;
        });
    }
    // then() is done at the end of a call that succeeds.
    template <class Handle, class Then>
    MMRESULT open(Handle* handle, UINT device, const std::string& arguments, Then then) {
        return call(name + "Open", std::to_string(device) + arguments, [&]() -> MMRESULT {
            {
                const std::lock_guard lock(guard);
                if (device >= devices.size()) return MMSYSERR_BADDEVICEID;
                if (std::exchange(opened, true)) return MMSYSERR_ALLOCATED;
            }
            *handle = reinterpret_cast<Handle>(this);
            then();
            return MMSYSERR_NOERROR;
        });
    }
    // A call on the open device, under the lock.
    template <class Action>
    MMRESULT on(const void* handle, const char* function, const std::string& arguments, Action action) {
        return call(name + function, arguments, [&]() -> MMRESULT {
            std::unique_lock lock(guard);
            return opened && handle == this ? action(lock) : MMRESULT(MMSYSERR_INVALHANDLE);
        });
    }
    MMRESULT prepare(const void* handle, MIDIHDR* header, const std::string& arguments);
    MMRESULT unprepare(const void* handle, MIDIHDR* header);
    // Gives a prepared buffer to the device.
    MMRESULT take(MIDIHDR* header);
    template <class Then>
    MMRESULT close(const void* handle, Then then) {
        return on(handle, "Close", "", [&](auto& lock) -> MMRESULT {
            if (!buffers.empty()) return MIDIERR_STILLPLAYING;
            opened = false;
            lock.unlock();
            then();
            return MMSYSERR_NOERROR;
        });
    }
};

} // namespace winmm_stand_in
