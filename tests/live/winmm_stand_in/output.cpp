// Output devices.
#include "stand_in.h"

#include <thread>

namespace {

using namespace winmm_stand_in;

// Never destroyed: threads outlive the process's end.
half& out = *new half("midiOut", "QUENVAREL_WINMM_OUTPUTS", "Stand-in Synth");

std::string described(const MIDIHDR* header, UINT size) {
    const bool is_fresh = size == sizeof *header && header->dwFlags == 0;
    return hex(header->lpData, header->dwBufferLength) +
           (is_fresh ? "" : " flags " + std::to_string(header->dwFlags));
}

// The device has sent the message; whoever has changed or freed it meanwhile is found out.
void finish(MIDIHDR* header, std::string bytes) {
    MEMORY_BASIC_INFORMATION region;
    const bool readable = VirtualQuery(header->lpData, &region, sizeof region) && region.State == MEM_COMMIT;
    const bool intact = readable && std::equal(bytes.begin(), bytes.end(), header->lpData);
    note("released " + hex(bytes.data(), bytes.size()) + (intact ? " intact" : " changed"));
    const std::lock_guard lock(out.guard);
    if (intact) header->dwFlags = (header->dwFlags | MHDR_DONE) & ~DWORD(MHDR_INQUEUE);
    std::erase(out.buffers, header);
}

} // namespace

extern "C" {

UINT WINAPI midiOutGetNumDevs() {
    return out.count();
}

MMRESULT WINAPI midiOutGetDevCapsA(UINT_PTR device, LPMIDIOUTCAPSA capabilities, UINT size) {
    return out.describe(device, capabilities, size);
}

MMRESULT WINAPI midiOutOpen(LPHMIDIOUT handle, UINT device, DWORD_PTR callback, DWORD_PTR instance,
                            DWORD flags) {
    return out.open(handle, device,
                    " callback " + std::to_string(callback) + " instance " + std::to_string(instance) +
                        " flags " + std::to_string(flags),
                    [] {});
}

MMRESULT WINAPI midiOutShortMsg(HMIDIOUT handle, DWORD message) {
    return out.on(handle, "ShortMsg", hex(&message, sizeof message), [](auto&) { return MMSYSERR_NOERROR; });
}

MMRESULT WINAPI midiOutPrepareHeader(HMIDIOUT handle, LPMIDIHDR header, UINT size) {
    return out.prepare(handle, header, described(header, size));
}

MMRESULT WINAPI midiOutLongMsg(HMIDIOUT handle, LPMIDIHDR header, UINT) {
    const std::string bytes(header->lpData, header->dwBufferLength);
    return out.on(handle, "LongMsg", hex(bytes.data(), bytes.size()), [&](auto&) -> MMRESULT {
        const std::string busy = variable("QUENVAREL_WINMM_BUSY", "0");
        const MMRESULT taken = out.take(header);
        if (taken == MMSYSERR_NOERROR && busy == "0") {
            out.buffers.pop_back();
            header->dwFlags = (header->dwFlags | MHDR_DONE) & ~DWORD(MHDR_INQUEUE);
        } else if (taken == MMSYSERR_NOERROR && busy != "forever") {
            std::thread([header, bytes, busy] {
                Sleep(DWORD(std::stoul(busy)));
                finish(header, bytes);
            }).detach();
        }
        return taken;
    });
}

MMRESULT WINAPI midiOutUnprepareHeader(HMIDIOUT handle, LPMIDIHDR header, UINT) {
    return out.unprepare(handle, header);
}

MMRESULT WINAPI midiOutClose(HMIDIOUT handle) {
    return out.close(handle, [] {});
}

} // extern "C"
