// Input devices. One can be open at a time; it delivers on a thread of its own.
#include "stand_in.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace {

using namespace winmm_stand_in;
using clock = std::chrono::steady_clock;

const HMIDIIN the_handle = reinterpret_cast<HMIDIIN>(0x1e);

// Never destroyed: when the process ends, the thread is gone without having been joined.
struct device_state {
    std::mutex guard;
    std::condition_variable changed;
    bool opened = false;
    bool running = false;
    DWORD_PTR callback = 0;
    DWORD_PTR instance = 0;
    std::deque<MIDIHDR*> queue;
    std::thread deliverer;
    clock::time_point started;

    void tell(UINT message, DWORD_PTR parameter1, DWORD_PTR parameter2) const {
        using function = void(CALLBACK*)(HMIDIIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);
        reinterpret_cast<function>(callback)(the_handle, message, instance, parameter1, parameter2);
    }
    DWORD_PTR now() const {
        return DWORD_PTR(
            std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - started).count());
    }
    // Waits, but not beyond the stop; false when stopped.
    bool wait(std::chrono::milliseconds time) {
        std::unique_lock lock(guard);
        return !changed.wait_for(lock, time, [&] { return !running; });
    }
    // The next buffer that the receiver has queued; none when it queues none for a while or the device is
    // stopped.
    MIDIHDR* take_buffer() {
        std::unique_lock lock(guard);
        changed.wait_for(lock, std::chrono::seconds(5), [&] { return !running || !queue.empty(); });
        if (!running || queue.empty()) return nullptr;
        MIDIHDR* const header = queue.front();
        queue.pop_front();
        return header;
    }
    void give_back(MIDIHDR* header, std::size_t recorded) const {
        header->dwBytesRecorded = DWORD(recorded);
        header->dwFlags = (header->dwFlags | MHDR_DONE) & ~DWORD(MHDR_INQUEUE);
        tell(MIM_LONGDATA, reinterpret_cast<DWORD_PTR>(header), now());
    }
};
device_state& device = *new device_state;

void deliver_long(const std::string& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        MIDIHDR* const header = device.take_buffer();
        if (!header) {
            note("lost " + std::to_string(bytes.size() - at) + " bytes");
            return;
        }
        const std::size_t count = bytes.copy(header->lpData, header->dwBufferLength, at);
        device.give_back(header, count);
        at += count;
    }
}

void deliver(const std::string& word) {
    if (word[0] == '+') {
        device.wait(std::chrono::milliseconds(std::stol(word.substr(1))));
        return;
    }
    const std::size_t colon = word.find(':');
    const std::string digits = colon == std::string::npos ? word : word.substr(colon + 1);
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += char(std::stoi(digits.substr(i, 2), nullptr, 16));
    if (bytes[0] == '\xf0') return deliver_long(bytes);

    DWORD_PTR packed = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        packed |= DWORD_PTR(static_cast<unsigned char>(bytes[i])) << (8 * i);
    const UINT message = word.starts_with("more:")    ? MIM_MOREDATA
                         : word.starts_with("error:") ? MIM_ERROR
                                                      : MIM_DATA;
    device.tell(message, packed, device.now());
}

// Carries out a call on the open device.
template <class Action>
MMRESULT call_open(const std::string& function, const std::string& arguments, HMIDIIN handle, Action action) {
    return call(function, arguments, [&]() -> MMRESULT {
        std::unique_lock lock(device.guard);
        if (!device.opened || handle != the_handle) return MMSYSERR_INVALHANDLE;
        return action(lock);
    });
}

bool queued(const MIDIHDR* header) {
    return std::find(device.queue.begin(), device.queue.end(), header) != device.queue.end();
}

} // namespace

extern "C" {

UINT WINAPI midiInGetNumDevs() {
    const UINT count = UINT(configured().inputs.size());
    note("midiInGetNumDevs -> " + std::to_string(count));
    return count;
}

MMRESULT WINAPI midiInGetDevCapsA(UINT_PTR number, LPMIDIINCAPSA capabilities, UINT size) {
    return call("midiInGetDevCapsA", std::to_string(number), [&] {
        return size == sizeof *capabilities ? describe(configured().inputs, number, capabilities)
                                            : MMRESULT(MMSYSERR_INVALPARAM);
    });
}

MMRESULT WINAPI midiInOpen(LPHMIDIIN handle, UINT number, DWORD_PTR callback, DWORD_PTR instance,
                           DWORD flags) {
    const std::string arguments = std::to_string(number) + " flags " + std::to_string(flags);
    return call("midiInOpen", arguments, [&]() -> MMRESULT {
        {
            const std::lock_guard lock(device.guard);
            if (number >= configured().inputs.size()) return MMSYSERR_BADDEVICEID;
            if (device.opened) return MMSYSERR_ALLOCATED;
            device.opened = true;
            device.callback = callback;
            device.instance = instance;
        }
        *handle = the_handle;
        device.tell(MIM_OPEN, 0, 0);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInStart(HMIDIIN handle) {
    return call_open("midiInStart", "", handle, [&](auto&) -> MMRESULT {
        if (device.running || device.deliverer.joinable()) return MMSYSERR_NOERROR;
        device.running = true;
        device.started = clock::now();
        device.deliverer = std::thread([] {
            for (const std::string& word : configured().input)
                if (device.wait(std::chrono::milliseconds(0))) deliver(word);
        });
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInPrepareHeader(HMIDIIN handle, LPMIDIHDR header, UINT) {
    const std::string arguments = std::to_string(header->dwBufferLength) + " recorded " +
                                  std::to_string(header->dwBytesRecorded) + " flags " +
                                  std::to_string(header->dwFlags);
    return call_open("midiInPrepareHeader", arguments, handle, [&](auto&) -> MMRESULT {
        header->dwFlags |= MHDR_PREPARED;
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInAddBuffer(HMIDIIN handle, LPMIDIHDR header, UINT) {
    return call_open("midiInAddBuffer", "recorded " + std::to_string(header->dwBytesRecorded), handle,
                     [&](auto&) -> MMRESULT {
                         if (!(header->dwFlags & MHDR_PREPARED)) return MIDIERR_UNPREPARED;
                         if (queued(header)) return MIDIERR_STILLPLAYING;
                         header->dwFlags = (header->dwFlags | MHDR_INQUEUE) & ~DWORD(MHDR_DONE);
                         device.queue.push_back(header);
                         device.changed.notify_all();
                         return MMSYSERR_NOERROR;
                     });
}

MMRESULT WINAPI midiInStop(HMIDIIN handle) {
    return call_open("midiInStop", "", handle, [&](auto& lock) -> MMRESULT {
        device.running = false;
        device.changed.notify_all();
        // The callback that is running gets to its end.
        lock.unlock();
        if (device.deliverer.joinable()) device.deliverer.join();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInReset(HMIDIIN handle) {
    return call_open("midiInReset", "", handle, [&](auto& lock) -> MMRESULT {
        const std::deque<MIDIHDR*> all = std::move(device.queue);
        device.queue.clear();
        device.running = false;
        device.changed.notify_all();
        lock.unlock();
        if (device.deliverer.joinable()) device.deliverer.join();
        std::thread([&] {
            for (MIDIHDR* const header : all)
                device.give_back(header, 0);
        }).join();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInUnprepareHeader(HMIDIIN handle, LPMIDIHDR header, UINT) {
    return call_open("midiInUnprepareHeader", "", handle, [&](auto&) -> MMRESULT {
        if (queued(header)) return MIDIERR_STILLPLAYING;
        header->dwFlags &= ~DWORD(MHDR_PREPARED);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInClose(HMIDIIN handle) {
    return call_open("midiInClose", "", handle, [&](auto& lock) -> MMRESULT {
        if (!device.queue.empty()) return MIDIERR_STILLPLAYING;
        device.opened = false;
        lock.unlock();
        device.tell(MIM_CLOSE, 0, 0);
        return MMSYSERR_NOERROR;
    });
}

} // extern "C"
