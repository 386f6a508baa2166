#include "midi/drivers/recorder.h"

#include "libutils/report.h"

#include <algorithm>
#include <iostream>
#include <new>
#include <system_error>
#include <utility>

namespace midi {

namespace {

constexpr std::size_t most_waiting = 4096;
constexpr std::chrono::milliseconds pause{20}, patience{200};
constexpr result_t cannot_record = 1, bad_message = 2, too_many = 3;

} // namespace

recorder::recorder(std::unique_ptr<recording_t> recording)
    : recording_(std::move(recording)),
      ring_(most_waiting),
      thread_([this] { run(); }) {}

result_t recorder::open(std::unique_ptr<recording_t> recording,
                        std::unique_ptr<output_device_t>& opened) try {
    opened = std::make_unique<recorder>(std::move(recording));
    return no_error;
} catch (const std::system_error&) {
    return cannot_record;
}

recorder::~recorder() {
    recorder::close();
}

result_t recorder::short_message(std::uint32_t message) {
    const short_bytes_t unpacked = unpack(message);
    return unpacked.length ? put(unpacked.bytes, unpacked.length) : bad_message;
}

result_t recorder::long_message(const std::uint8_t* bytes, std::size_t length) {
    result_t result = no_error;
    pieces_.read(bytes, length, [&](const std::uint8_t* message, std::size_t count) {
        const result_t taken = put(message, count);
        if (result == no_error) result = taken;
    });
    return result;
}

result_t recorder::put(const std::uint8_t* bytes, std::size_t length) {
    if (failed_) return cannot_record;
    entry made{.time = {}, .bytes = {}, .length = length <= sizeof made.bytes ? length : 0, .long_bytes = {}};
    if (made.length)
        std::copy_n(bytes, length, made.bytes);
    else // not under the lock: when the memory ends, the program's end puts messages, too
        made.long_bytes = std::make_unique<std::vector<std::uint8_t>>(bytes, bytes + length);
    std::unique_lock lock(mutex_);
    if (!made_room_.wait_for(lock, patience, [this] { return waiting_ < most_waiting; })) return too_many;
    made.time = clock::now();
    ring_[(first_ + waiting_) % most_waiting] = std::move(made);
    ++waiting_;
    // While something is recorded nobody is woken: that would cost the player more than the rest of this, and
    // the thread looks every few milliseconds anyway.
    if (rests_) arrived_.notify_one();
    return no_error;
}

bool recorder::record_all(std::size_t count, clock::time_point now) try {
    for (std::size_t i = 0; i < count; ++i) {
        is_empty_ = false;
        if (!record(ring_[(first_ + i) % most_waiting])) return false;
    }
    return recording_->advance(seconds(now));
} catch (const std::bad_alloc&) {
    return false;
}

void recorder::report_end() try {
    libutils::report(recording_->name(), ": the recording cannot go on and ends here.");
} catch (const std::bad_alloc&) {
    // The line, too, needs memory.
}

bool recorder::record(entry& next) {
    const bool is_note = next.length == 3 && (next.bytes[0] & 0xF0) == 0x90;
    if (is_note && !begin_) begin_ = next.time;
    if (next.length) return recording_->message(seconds(next.time), next.bytes, next.length);
    const auto bytes = std::move(next.long_bytes);
    return recording_->message(seconds(next.time), bytes->data(), bytes->size());
}

void recorder::run() {
    std::unique_lock lock(mutex_);
    bool ending = false;
    while (!ending) {
        const auto has_work = [this] { return waiting_ > 0 || closing_; };
        rests_ = !begin_;
        if (rests_)
            arrived_.wait(lock, has_work);
        else
            arrived_.wait_for(lock, pause, has_work);
        rests_ = false;
        // Taken under the lock: whatever is put from here on has a later time.
        const clock::time_point now = clock::now();
        const std::size_t taken = waiting_;
        ending = closing_;
        lock.unlock();
        if (!failed_ && !record_all(taken, now)) {
            failed_ = true; // what is recorded stays
            report_end();
        }
        if (ending && is_empty_)
            recording_->discard();
        else if (ending)
            recording_->finish(seconds(now));
        lock.lock();
        first_ = (first_ + taken) % most_waiting;
        waiting_ -= taken;
        made_room_.notify_one();
    }
}

result_t recorder::close() {
    if (thread_.joinable()) {
        {
            const std::lock_guard lock(mutex_);
            closing_ = true;
        }
        arrived_.notify_one();
        thread_.join();
        if (!is_empty_ && !failed_) std::cout << "recorded: " + recording_->name() + '\n' << std::flush;
    }
    return failed_ ? cannot_record : no_error;
}

} // namespace midi
