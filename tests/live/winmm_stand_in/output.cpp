// Output devices. One can be open at a time.
#include "stand_in.h"

#include <algorithm>
#include <mutex>
#include <thread>

namespace {

using namespace winmm_stand_in;

const HMIDIOUT the_handle = reinterpret_cast<HMIDIOUT>(0x51);
std::mutex guard;
bool opened = false;
std::vector<const MIDIHDR*>& playing = *new std::vector<const MIDIHDR*>; // buffers that the device still has

bool has(const MIDIHDR* header) {
    return std::find(playing.begin(), playing.end(), header) != playing.end();
}

std::string described(const MIDIHDR* header, UINT size) {
    return hex(header->lpData, header->dwBufferLength) + (size == sizeof *header && header->dwFlags == 0
                                                              ? ""
                                                              : " flags " + std::to_string(header->dwFlags));
}

// The device has sent the message; whoever has changed or freed it meanwhile is found out.
void finish(MIDIHDR* header, std::string bytes) {
    MEMORY_BASIC_INFORMATION region;
    const bool readable = VirtualQuery(header->lpData, &region, sizeof region) && region.State == MEM_COMMIT;
    const bool intact = readable && std::equal(bytes.begin(), bytes.end(), header->lpData);
    note("released " + hex(bytes.data(), bytes.size()) + (intact ? " intact" : " changed"));
    const std::lock_guard lock(guard);
    if (intact) header->dwFlags = (header->dwFlags | MHDR_DONE) & ~DWORD(MHDR_INQUEUE);
    std::erase(playing, header);
}

} // namespace

extern "C" {

UINT WINAPI midiOutGetNumDevs() {
    const UINT count = UINT(configured().outputs.size());
    note("midiOutGetNumDevs -> " + std::to_string(count));
    return count;
}

MMRESULT WINAPI midiOutGetDevCapsA(UINT_PTR device, LPMIDIOUTCAPSA capabilities, UINT size) {
    return call("midiOutGetDevCapsA", std::to_string(device), [&] {
        return size == sizeof *capabilities ? describe(configured().outputs, device, capabilities)
                                            : MMRESULT(MMSYSERR_INVALPARAM);
    });
}

MMRESULT WINAPI midiOutOpen(LPHMIDIOUT handle, UINT device, DWORD_PTR callback, DWORD_PTR instance,
                            DWORD flags) {
    const std::string arguments = std::to_string(device) + " callback " + std::to_string(callback) +
                                  " instance " + std::to_string(instance) + " flags " + std::to_string(flags);
    return call("midiOutOpen", arguments, [&]() -> MMRESULT {
        const std::lock_guard lock(guard);
        if (device >= configured().outputs.size()) return MMSYSERR_BADDEVICEID;
        if (opened) return MMSYSERR_ALLOCATED;
        opened = true;
        *handle = the_handle;
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiOutShortMsg(HMIDIOUT handle, DWORD message) {
    return call("midiOutShortMsg", hex(&message, sizeof message), [&]() -> MMRESULT {
        const std::lock_guard lock(guard);
        return opened && handle == the_handle ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
    });
}

MMRESULT WINAPI midiOutPrepareHeader(HMIDIOUT handle, LPMIDIHDR header, UINT size) {
    return call("midiOutPrepareHeader", described(header, size), [&]() -> MMRESULT {
        const std::lock_guard lock(guard);
        if (!opened || handle != the_handle) return MMSYSERR_INVALHANDLE;
        header->dwFlags |= MHDR_PREPARED;
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiOutLongMsg(HMIDIOUT handle, LPMIDIHDR header, UINT) {
    const std::string bytes(header->lpData, header->dwBufferLength);
    return call("midiOutLongMsg", hex(bytes.data(), bytes.size()), [&]() -> MMRESULT {
        const std::lock_guard lock(guard);
        if (!opened || handle != the_handle) return MMSYSERR_INVALHANDLE;
        if (!(header->dwFlags & MHDR_PREPARED)) return MIDIERR_UNPREPARED;
        if (has(header)) return MIDIERR_STILLPLAYING;
        header->dwFlags &= ~DWORD(MHDR_DONE);
        const auto busy = configured().busy;
        if (busy == std::chrono::milliseconds(0)) {
            header->dwFlags |= MHDR_DONE;
            return MMSYSERR_NOERROR;
        }
        header->dwFlags |= MHDR_INQUEUE;
        playing.push_back(header);
        if (busy)
            std::thread([header, bytes, busy] {
                std::this_thread::sleep_for(*busy);
                finish(header, bytes);
            }).detach();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiOutUnprepareHeader(HMIDIOUT handle, LPMIDIHDR header, UINT) {
    return call("midiOutUnprepareHeader", "", [&]() -> MMRESULT {
        const std::lock_guard lock(guard);
        if (!opened || handle != the_handle) return MMSYSERR_INVALHANDLE;
        if (has(header)) return MIDIERR_STILLPLAYING;
        header->dwFlags &= ~DWORD(MHDR_PREPARED);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiOutClose(HMIDIOUT handle) {
    return call("midiOutClose", "", [&]() -> MMRESULT {
        const std::lock_guard lock(guard);
        if (!opened || handle != the_handle) return MMSYSERR_INVALHANDLE;
        if (!playing.empty()) return MIDIERR_STILLPLAYING;
        opened = false;
        return MMSYSERR_NOERROR;
    });
}

} // extern "C"
