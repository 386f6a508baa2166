#include "midi/drivers/winmm.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>
#include <vector>

#include <windows.h>
// After windows.h, which it does not include by itself.
#include <mmsystem.h>

namespace midi {

namespace {

// The name fills its field without a terminator when a driver is careless.
template <std::size_t Size>
std::string name_of(const char (&field)[Size]) {
    return {field, std::find(field, field + Size, '\0')};
}

// What the device reads while it sends a long message.
struct sent_buffer {
    MIDIHDR header{};
    std::vector<char> bytes;
};

class winmm_output : public output_device_t {
public:
    explicit winmm_output(HMIDIOUT handle) : handle_(handle) {}
    ~winmm_output() override { winmm_output::close(); }

    result_t short_message(std::uint32_t message) override { return midiOutShortMsg(handle_, message); }

    result_t long_message(const std::uint8_t* bytes, std::size_t length) override {
        if (length > std::numeric_limits<DWORD>::max()) return MMSYSERR_INVALPARAM;
        auto buffer = std::make_unique<sent_buffer>();
        buffer->bytes.assign(bytes, bytes + length);
        MIDIHDR& header = buffer->header;
        header.lpData = buffer->bytes.data();
        header.dwBufferLength = static_cast<DWORD>(length);
        midiOutPrepareHeader(handle_, &header, sizeof header);
        const MMRESULT sent = midiOutLongMsg(handle_, &header, sizeof header);

        // A cable carries 3125 bytes in a second.
        const auto patience = std::chrono::milliseconds(1000 + length / 3);
        const auto end = std::chrono::steady_clock::now() + patience;
        while (midiOutUnprepareHeader(handle_, &header, sizeof header) == MIDIERR_STILLPLAYING) {
            if (std::chrono::steady_clock::now() >= end) {
                // The device may still read the buffer, now or later, so it can never be freed.
                static_cast<void>(buffer.release());
                return MIDIERR_STILLPLAYING;
            }
            Sleep(1);
        }
        return sent;
    }

    result_t close() override {
        const HMIDIOUT handle = std::exchange(handle_, nullptr);
        return handle ? midiOutClose(handle) : MMSYSERR_NOERROR;
    }

private:
    HMIDIOUT handle_;
};

class winmm_input : public input_device_t {
public:
    explicit winmm_input(input_sink_t& sink) : sink_(sink) {}
    ~winmm_input() override {
        if (!handle_) return;
        // Closing fails while the device has a buffer.
        midiInReset(handle_);
        if (buffer_) midiInUnprepareHeader(handle_, &header_, sizeof header_);
        winmm_input::close();
    }

    MMRESULT open(UINT device) {
        HMIDIIN handle = nullptr;
        const MMRESULT result =
            midiInOpen(&handle, device, reinterpret_cast<DWORD_PTR>(&callback),
                       reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION | MIDI_IO_STATUS);
        if (result == MMSYSERR_NOERROR) handle_ = handle;
        return result;
    }
    result_t start() override { return midiInStart(handle_); }
    result_t prepare(input_buffer_t& buffer) override {
        header_ = {};
        header_.lpData = reinterpret_cast<char*>(buffer.bytes);
        header_.dwBufferLength = buffer.length;
        const MMRESULT result = midiInPrepareHeader(handle_, &header_, sizeof header_);
        if (result == MMSYSERR_NOERROR) buffer_ = &buffer;
        return result;
    }
    result_t queue(input_buffer_t& buffer) override {
        header_.dwBytesRecorded = buffer.recorded;
        return midiInAddBuffer(handle_, &header_, sizeof header_);
    }
    result_t stop() override { return midiInStop(handle_); }
    result_t reset() override { return midiInReset(handle_); }
    result_t unprepare(input_buffer_t&) override {
        const MMRESULT result = midiInUnprepareHeader(handle_, &header_, sizeof header_);
        if (result == MMSYSERR_NOERROR) buffer_ = nullptr;
        return result;
    }
    result_t close() override {
        const HMIDIIN handle = std::exchange(handle_, nullptr);
        return handle ? midiInClose(handle) : MMSYSERR_NOERROR;
    }

private:
    // On a thread of the services, except for opening and closing.
    static void CALLBACK callback(HMIDIIN, UINT message, DWORD_PTR instance, DWORD_PTR parameter1,
                                  DWORD_PTR parameter2) {
        winmm_input& device = *reinterpret_cast<winmm_input*>(instance);
        switch (message) {
        case MIM_OPEN:
            return device.sink_.receive(input_event::open, parameter1, parameter2);
        case MIM_CLOSE:
            return device.sink_.receive(input_event::close, parameter1, parameter2);
        case MIM_DATA:
            return device.sink_.receive(input_event::data, parameter1, parameter2);
        case MIM_MOREDATA:
            return device.sink_.receive(input_event::more_data, parameter1, parameter2);
        case MIM_ERROR:
            return device.sink_.receive(input_event::error, parameter1, parameter2);
        case MIM_LONGERROR:
            return device.sink_.receive(input_event::long_error, parameter1, parameter2);
        case MIM_LONGDATA:
            if (!device.buffer_) return;
            device.buffer_->recorded = device.header_.dwBytesRecorded;
            return device.sink_.receive(input_event::long_data, reinterpret_cast<DWORD_PTR>(device.buffer_),
                                        parameter2);
        default:
            return;
        }
    }

    input_sink_t& sink_;
    HMIDIIN handle_ = nullptr;
    MIDIHDR header_{};
    input_buffer_t* buffer_ = nullptr; // while it is prepared
};

} // namespace

std::uint32_t winmm_outputs::device_count() {
    return midiOutGetNumDevs();
}

result_t winmm_outputs::device_name(std::uint32_t device, std::string& name) {
    MIDIOUTCAPSA capabilities{};
    const MMRESULT result = midiOutGetDevCapsA(device, &capabilities, sizeof capabilities);
    if (result == MMSYSERR_NOERROR) name = name_of(capabilities.szPname);
    return result;
}

result_t winmm_outputs::open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) {
    HMIDIOUT handle = nullptr;
    const MMRESULT result = midiOutOpen(&handle, device, 0, 0, CALLBACK_NULL);
    if (result == MMSYSERR_NOERROR) opened = std::make_unique<winmm_output>(handle);
    return result;
}

std::uint32_t winmm_inputs::device_count() {
    return midiInGetNumDevs();
}

result_t winmm_inputs::device_name(std::uint32_t device, std::string& name) {
    MIDIINCAPSA capabilities{};
    const MMRESULT result = midiInGetDevCapsA(device, &capabilities, sizeof capabilities);
    if (result == MMSYSERR_NOERROR) name = name_of(capabilities.szPname);
    return result;
}

result_t winmm_inputs::open(std::uint32_t device, input_sink_t& sink,
                            std::unique_ptr<input_device_t>& opened) {
    auto input = std::make_unique<winmm_input>(sink);
    const MMRESULT result = input->open(device);
    if (result == MMSYSERR_NOERROR) opened = std::move(input);
    return result;
}

} // namespace midi
