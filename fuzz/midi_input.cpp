// Any bytes from a MIDI cable, in two pieces: only well-formed messages are accepted, they do not depend on
// where the pieces meet, and the input port hands on each of them whole and in order.

#include "fuzz/target.h"
#include "midi/message.h"
#include "midi/midi_in.h"
#include "tools/midimon/describe.h"

#include <cstring>
#include <utility>
#include <vector>

using fuzz::demand;

namespace {

using bytes_t = std::vector<std::uint8_t>;

// An input whose cable is the fuzzer's.
class cable : public midi::input_service_t {
public:
    std::uint32_t device_count() override { return 1; }
    midi::result_t device_name(std::uint32_t, std::string& name) override {
        name = "Cable";
        return midi::no_error;
    }
    midi::result_t open(std::uint32_t, midi::input_sink_t& sink,
                        std::unique_ptr<midi::input_device_t>& opened) override {
        sink_ = &sink;
        opened = std::make_unique<device_t>(*this);
        return midi::no_error;
    }
    void deliver(const std::uint8_t* bytes, std::size_t count) {
        reader_.read(bytes, count, [&](const std::uint8_t* message, std::size_t length) {
            demand(length > 0 && message[0] >= 0x80, "a message begins with a status");
            const bool sysex = message[0] == midi::sysex_begin;
            demand(sysex ? length >= 2 && message[length - 1] == midi::sysex_end
                         : length == midi::message_length(message[0]),
                   "a message has the length of its status");
            demand(midi::are_data(message + 1, length - 1 - sysex), "a status is followed by data");
            sent.insert(sent.end(), message, message + length);
            if (!sysex) return sink_->receive(midi::input_event::data, midi::pack(message, length), 0);
            while (length > 0) {
                demand(queued_ != nullptr, "the buffer is queued again after each use");
                midi::input_buffer_t& buffer = *std::exchange(queued_, nullptr);
                buffer.recorded = std::uint32_t(std::min<std::size_t>(length, buffer.length));
                std::memcpy(buffer.bytes, message, buffer.recorded);
                message += buffer.recorded;
                length -= buffer.recorded;
                sink_->receive(midi::input_event::long_data, reinterpret_cast<std::uintptr_t>(&buffer), 0);
            }
        });
    }
    bytes_t sent;

private:
    struct device_t : midi::input_device_t {
        explicit device_t(cable& owner) : of(owner) {}
        midi::result_t start() override { return midi::no_error; }
        midi::result_t prepare(midi::input_buffer_t&) override { return midi::no_error; }
        midi::result_t queue(midi::input_buffer_t& buffer) override {
            of.queued_ = &buffer;
            return midi::no_error;
        }
        midi::result_t stop() override { return midi::no_error; }
        midi::result_t reset() override {
            if (midi::input_buffer_t* buffer = std::exchange(of.queued_, nullptr)) {
                buffer->recorded = 0;
                of.sink_->receive(midi::input_event::long_data, reinterpret_cast<std::uintptr_t>(buffer), 0);
            }
            return midi::no_error;
        }
        midi::result_t unprepare(midi::input_buffer_t&) override { return of.queued_ ? 65 : midi::no_error; }
        midi::result_t close() override { return midi::no_error; }
        cable& of;
    };

    midi::message_reader reader_;
    midi::input_sink_t* sink_ = nullptr;
    midi::input_buffer_t* queued_ = nullptr;
};

void keep(void* received, const std::uint8_t* bytes, std::size_t count) {
    auto& all = *static_cast<bytes_t*>(received);
    all.insert(all.end(), bytes, bytes + count);
    const std::string words = midimon::line(0, bytes, count);
    demand(!words.empty() && words.find('\n') == words.npos, "every message is told in one line");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const test_support::capture out(std::cout);
    const fuzz::messages messages;
    bytes_t received;
    const midi::midi_listener_t listener{
        &received, nullptr, nullptr,
        [](void* context, std::uint32_t message, std::uint32_t, std::uintptr_t) {
            const midi::short_bytes_t bytes = midi::unpack(message);
            demand(bytes.length > 0, "a short message can be unpacked");
            keep(context, bytes.bytes, bytes.length);
        },
        [](void* context, const std::uint8_t* bytes, std::uint32_t count, std::uint32_t) {
            keep(context, bytes, count);
        }};
    cable service;
    midi::midi_in_t port(service, &listener);
    demand(port.open(0u), "the port opens");
    // The first byte says where the cable's bytes are cut in two.
    const std::size_t rest = size ? size - 1 : 0;
    const std::size_t cut = size ? std::min<std::size_t>(data[0], rest) : 0;
    service.deliver(data + (size != 0), cut);
    service.deliver(data + (size != 0) + cut, rest - cut);
    demand(received == service.sent, "what comes in is handed on");
    bytes_t whole;
    midi::each_message(data + (size != 0), rest, [&](const std::uint8_t* message, std::size_t length) {
        whole.insert(whole.end(), message, message + length);
    });
    demand(received == whole, "where the pieces meet does not matter");
    demand(port.close() && messages.text().empty(), "the port closes without a word");
    return 0;
}
