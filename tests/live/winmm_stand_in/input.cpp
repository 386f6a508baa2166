// Input devices. The open one delivers on a thread of its own.
#include "stand_in.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <thread>

namespace {

using namespace winmm_stand_in;
using clock = std::chrono::steady_clock;

// Never destroyed: when the process ends, the thread is gone without having been joined.
struct input_half : half {
    using half::half;

    std::condition_variable changed;
    bool running = false;
    DWORD_PTR callback = 0, instance = 0;
    std::thread deliverer;
    clock::time_point started;
    mutable std::atomic<int> absences{0}; // looks at the list that do not find it

    void tell(UINT message, DWORD_PTR parameter1, DWORD_PTR parameter2) const {
        using function = void(CALLBACK*)(HMIDIIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);
        const auto handle = reinterpret_cast<HMIDIIN>(const_cast<input_half*>(this));
        reinterpret_cast<function>(callback)(handle, message, instance, parameter1, parameter2);
    }
    DWORD_PTR now() const {
        return DWORD_PTR(
            std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - started).count());
    }
    bool runs() {
        const std::lock_guard lock(guard);
        return running;
    }
    // The next buffer that the receiver has queued; none when it queues none for a while or the device is
    // stopped.
    MIDIHDR* take_buffer() {
        std::unique_lock lock(guard);
        changed.wait_for(lock, std::chrono::seconds(5), [&] { return !running || !buffers.empty(); });
        if (!running || buffers.empty()) return nullptr;
        MIDIHDR* const header = buffers.front();
        buffers.pop_front();
        return header;
    }
    void give_back(MIDIHDR* header, std::size_t recorded) const {
        header->dwBytesRecorded = DWORD(recorded);
        header->dwFlags = (header->dwFlags | MHDR_DONE) & ~DWORD(MHDR_INQUEUE);
        tell(MIM_LONGDATA, reinterpret_cast<DWORD_PTR>(header), now());
    }
    UINT count() const override {
        if (absences == 0) return half::count();
        --absences;
        note(name + "GetNumDevs -> 0");
        return 0;
    }
    // The callback that is running gets to its end.
    void stop(std::unique_lock<std::mutex>& lock) {
        running = false;
        changed.notify_all();
        lock.unlock();
        if (deliverer.joinable()) deliverer.join();
    }
};
input_half& in = *new input_half("midiIn", "QUENVAREL_WINMM_INPUTS", "Stand-in Keys");

void deliver_long(const std::string& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        MIDIHDR* const header = in.take_buffer();
        if (!header) return note("lost " + std::to_string(bytes.size() - at) + " bytes");
        const std::size_t count = bytes.copy(header->lpData, header->dwBufferLength, at);
        in.give_back(header, count);
        at += count;
    }
}

void deliver(const std::string& word) {
    const std::string digits = word.substr(word.find(':') + 1);
    if (word.starts_with("wait:")) return Sleep(DWORD(std::stoul(digits)));
    if (word.starts_with("unplug:")) {
        static bool was_unplugged = false;
        if (!std::exchange(was_unplugged, true)) in.absences = std::stoi(digits);
        return;
    }
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += char(std::stoi(digits.substr(i, 2), nullptr, 16));
    if (bytes[0] == '\xf0') return deliver_long(bytes);

    DWORD_PTR packed = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        packed |= DWORD_PTR(static_cast<unsigned char>(bytes[i])) << (8 * i);
    const UINT message = word[0] == 'm' ? MIM_MOREDATA : word.starts_with("error:") ? MIM_ERROR : MIM_DATA;
    in.tell(message, packed, in.now());
}

} // namespace

extern "C" {

UINT WINAPI midiInGetNumDevs() {
    return in.count();
}

MMRESULT WINAPI midiInGetDevCapsA(UINT_PTR number, LPMIDIINCAPSA capabilities, UINT size) {
    return in.describe(number, capabilities, size);
}

MMRESULT WINAPI midiInOpen(LPHMIDIIN handle, UINT number, DWORD_PTR callback, DWORD_PTR instance,
                           DWORD flags) {
    return in.open(handle, number, " flags " + std::to_string(flags), [&] {
        in.callback = callback;
        in.instance = instance;
        in.tell(MIM_OPEN, 0, 0);
    });
}

MMRESULT WINAPI midiInStart(HMIDIIN handle) {
    return in.on(handle, "Start", "", [](auto&) -> MMRESULT {
        if (in.running || in.deliverer.joinable()) return MMSYSERR_NOERROR;
        in.running = true;
        in.started = clock::now();
        in.deliverer = std::thread([] {
            for (const std::string& word : split(variable("QUENVAREL_WINMM_INPUT", ""), ' '))
                if (in.runs()) deliver(word);
        });
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInPrepareHeader(HMIDIIN handle, LPMIDIHDR header, UINT) {
    return in.prepare(handle, header,
                      std::to_string(header->dwBufferLength) + " recorded " +
                          std::to_string(header->dwBytesRecorded) + " flags " +
                          std::to_string(header->dwFlags));
}

MMRESULT WINAPI midiInAddBuffer(HMIDIIN handle, LPMIDIHDR header, UINT) {
    return in.on(handle, "AddBuffer", "recorded " + std::to_string(header->dwBytesRecorded), [&](auto&) {
        in.changed.notify_all();
        return in.take(header);
    });
}

MMRESULT WINAPI midiInStop(HMIDIIN handle) {
    return in.on(handle, "Stop", "", [](auto& lock) -> MMRESULT {
        in.stop(lock);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInReset(HMIDIIN handle) {
    return in.on(handle, "Reset", "", [](auto& lock) -> MMRESULT {
        const std::deque<MIDIHDR*> all = std::exchange(in.buffers, {});
        in.stop(lock);
        std::thread([&] {
            for (MIDIHDR* const header : all)
                in.give_back(header, 0);
        }).join();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT WINAPI midiInUnprepareHeader(HMIDIIN handle, LPMIDIHDR header, UINT) {
    return in.unprepare(handle, header);
}

MMRESULT WINAPI midiInClose(HMIDIIN handle) {
    return in.close(handle, [] { in.tell(MIM_CLOSE, 0, 0); });
}

} // extern "C"
