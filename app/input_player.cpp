#include "app/input_player.h"

#include "libutils/report.h"
#include "midi/message.h"
#include "midi/midi_out.h"
#include "midi/port_choice.h"
#include "midi/senders.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace quenvarel {

namespace {

using std::chrono::milliseconds;

// The window, too, wants to be looked after.
constexpr milliseconds longest_at_once{3}, between_looks{900}, echo_takes_at_most{500};
constexpr int messages_in_turn = 32; // of one input, before the next has its turn
constexpr int all_that_wait = 1 << 18;

constexpr int note_off = 0x80, note_on = 0x90, control_change = 0xB0, program_change = 0xC0;
constexpr int all_sound_off = 120, reset_controllers = 121, all_notes_off = 123;
constexpr std::uint8_t system_reset = 0xFF;

} // namespace

input_player::input_player(midi::midi_out_t& out, midi::input_service_t& service, void (*wake)())
    : out_(out),
      service_(service),
      wake_(wake) {}

bool input_player::open(const char* device) {
    const midi::device_argument_t wanted = midi::parsedevice(device);
    const std::optional<midi::chosen_device_t> chosen =
        wanted.has_name ? midi::choose_device(service_, device)
                        : midi::choose_device(service_, static_cast<std::uint32_t>(wanted.number));
    if (!chosen) return false;
    if (std::ranges::any_of(inputs_, [&](const input& i) {
            return i.port.number() == chosen->number && i.port.name() == chosen->name;
        }))
        return true;
    inputs_.emplace_back(service_, wake_);
    if (inputs_.back().port.open(chosen->number)) return true;
    inputs_.pop_back();
    return false;
}

bool input_player::handle() {
    if (!listener_) return false;
    const auto begin = clock::now();
    if (!echo_.empty() && echo_until_ == clock::time_point{}) echo_until_ = begin + echo_takes_at_most;
    if (begin - looked_ >= between_looks) {
        looked_ = begin;
        for (input& i : inputs_)
            if (!i.hears_us) i.port.look_for_device();
    }
    bool more = true;
    while (more && clock::now() - begin < longest_at_once) {
        more = false;
        for (input& i : inputs_)
            more = handle(i, messages_in_turn) || more;
    }
    if (std::exchange(moved_, false)) listener_->input_moved();
    return more;
}

// True when there may be more.
bool input_player::handle(input& from, int most) {
    // What the device has sent before it went is handled before that.
    const auto news = from.port.news();
    if (news) most = all_that_wait;
    midi::queued_message message;
    for (; most > 0 && from.port.take(message); --most) {
        if (message.after_loss) end_all(from);
        if (!from.hears_us) pass_on(from, message);
    }
    if (news && !from.hears_us) {
        if (*news != midi::input_absence::none) end_all(from);
        midi::report_news(from.port.name(), *news);
    }
    if (most > 0)
        if (const std::size_t lost = from.port.take_lost()) {
            end_all(from);
            libutils::report(from.port.name(), ": ", lost, " messages came too fast and are lost.");
        }
    return most == 0;
}

void input_player::pass_on(input& from, const midi::queued_message& message) {
    const std::uint8_t* const bytes = message.bytes.data();
    if (bytes[0] == midi::sysex_begin || bytes[0] < 0x80 || bytes[0] == midi::sysex_end)
        return collect(from, message);
    if (bytes[0] < midi::first_realtime) from.sysex.clear(); // broken off
    keep_track(from, bytes);
    send(bytes, message.length);
}

// A long message comes in pieces, between which others could be sent.
void input_player::collect(input& from, const midi::queued_message& message) {
    const std::uint8_t* const bytes = message.bytes.data();
    if (bytes[0] == midi::sysex_begin)
        from.sysex.clear();
    else if (from.sysex.empty() || from.sysex.size() + message.length > midi::longest_sysex)
        return from.sysex.clear();
    from.sysex.insert(from.sysex.end(), bytes, bytes + message.length);
    if (from.sysex.back() != midi::sysex_end) return;
    if (clock::now() < echo_until_ &&
        std::search(from.sysex.begin(), from.sysex.end(), echo_.begin(), echo_.end()) != from.sysex.end()) {
        libutils::report(from.port.name(), ": what this program sends comes back; the input is left out.");
        from.hears_us = true;
        end_all(from);
        from.port.close();
        return;
    }
    const std::size_t length = from.sysex.size();
    from.sysex.resize(std::max<std::size_t>(length, 4));
    send(from.sysex.data(), length);
    from.sysex.clear();
}

void input_player::keep_track(input& from, const std::uint8_t* bytes) {
    const int channel = bytes[0] & 0x0F, data1 = bytes[1], data2 = bytes[2];
    switch (bytes[0] & 0xF0) {
    case note_off:
        return set_note(from, channel, data1, false);
    case note_on:
        return set_note(from, channel, data1, data2 > 0);
    case control_change:
        for (std::size_t i = 0; i < std::size(pedals); ++i)
            if (data1 == pedals[i] || data1 == reset_controllers)
                from.pedal_down[i][static_cast<std::size_t>(channel)] = data1 == pedals[i] && data2 >= 64;
        if (data1 == all_sound_off || data1 >= all_notes_off) release(from, channel);
        return;
    case program_change:
        return listener_->input_program(channel, data1);
    default:
        if (bytes[0] != system_reset) return;
        for (int each = 0; each < channels; ++each)
            release(from, each);
        from.pedal_down = {};
    }
}

void input_player::set_note(input& from, int channel, int note, bool down) {
    const auto at = static_cast<std::size_t>(channel * notes + note);
    if (from.down[at] == down) return;
    from.down[at] = down;
    moved_ = true;
    std::uint16_t& holders = holders_[static_cast<std::size_t>(note)];
    if (down && holders++ == 0) listener_->input_pressed(note);
    if (!down && --holders == 0) listener_->input_released(note);
}

// Its notes have been ended by a message.
void input_player::release(input& from, int channel) {
    for (int note = 0; note < notes; ++note)
        set_note(from, channel, note, false);
}

void input_player::end_all(input& from) {
    from.sysex.clear();
    for (std::size_t pedal = 0; pedal < std::size(pedals); ++pedal)
        for (int channel = 0; channel < channels; ++channel) {
            auto is_down = from.pedal_down[pedal][static_cast<std::size_t>(channel)];
            if (is_down) midi::ctlchg(out_, channel, pedals[pedal], 0);
            is_down = false;
        }
    for (std::size_t at = 0; from.down.any() && at < from.down.size(); ++at) {
        if (!from.down[at]) continue;
        const int channel = static_cast<int>(at / notes), note = static_cast<int>(at % notes);
        set_note(from, channel, note, false);
        const bool sounds_on = std::ranges::any_of(inputs_, [&](const input& i) { return i.down[at]; }) ||
                               (listener_ && listener_->sounds_elsewhere(channel, note));
        if (!sounds_on) midi::noteoff(out_, channel, note);
    }
}

void input_player::expect_no_echo_of(std::vector<std::uint8_t> bytes) {
    echo_ = std::move(bytes);
    echo_until_ = {};
}

void input_player::send(const std::uint8_t* bytes, std::size_t length) {
    out_.putbuf(bytes, length);
}

void input_player::leave() {
    for (input& i : inputs_) {
        end_all(i);
        if (!i.hears_us) i.port.close();
    }
    inputs_.clear();
    listener_ = nullptr;
}

} // namespace quenvarel
