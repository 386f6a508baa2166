#pragma once
// Takes messages with the time at which they were sent and hands them to a recording on a thread of its own,
// so that rendering and writing never hold up the player. Time begins with the first note; what comes before
// it happens at once.

#include "midi/driver.h"
#include "midi/message.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace midi {

// What is recorded into. All calls come from the recorder's thread, in the order of their times: seconds
// since the first note, and 0 before it. False means that it cannot go on; no call but the last one follows.
class recording_t {
public:
    virtual ~recording_t() = default;
    // One complete message.
    virtual bool message(double time, const std::uint8_t* bytes, std::size_t length) = 0;
    // Nothing happened until this time. Called at least every 50 ms from the first note on.
    virtual bool advance(double time) = 0;
    // The end, once.
    virtual void finish(double time) = 0;
    // Instead of the end when there was no message: nothing is left behind.
    virtual void discard() = 0;
    // Of the file, for messages.
    virtual std::string name() const = 0;
};

class recorder : public output_device_t {
public:
    // Throws std::system_error when the system has no thread for it.
    explicit recorder(std::unique_ptr<recording_t> recording);
    // Makes one; a failure is a result.
    static result_t open(std::unique_ptr<recording_t> recording, std::unique_ptr<output_device_t>& opened);
    ~recorder() override;

    // A long message may come in several pieces. Fails for what is no complete message, after the recording
    // has failed, and when thousands of messages wait. When the recording fails, that is one line on standard
    // error; its file stays as it is.
    result_t short_message(std::uint32_t message) override;
    result_t long_message(const std::uint8_t* bytes, std::size_t length) override;
    // Returns when everything has been recorded. The name of what is left is one line on standard output.
    result_t close() override;

private:
    using clock = std::chrono::steady_clock;
    struct entry {
        clock::time_point time;
        std::uint8_t bytes[4];
        std::size_t length; // 0: long_bytes has the message
        std::unique_ptr<std::vector<std::uint8_t>> long_bytes;
    };

    result_t put(const std::uint8_t* bytes, std::size_t length);
    void run();
    bool record(entry& next);
    bool record_all(std::size_t count, clock::time_point now);
    void report_end();
    double seconds(clock::time_point time) const {
        return begin_ ? std::chrono::duration<double>(time - *begin_).count() : 0;
    }

    message_reader pieces_; // of long messages
    std::unique_ptr<recording_t> recording_;
    std::optional<clock::time_point> begin_; // of the first note; used by the thread alone
    std::vector<entry> ring_; // the waiting ones begin at first_; the thread reads them unlocked
    std::size_t first_ = 0, waiting_ = 0;
    bool closing_ = false;
    bool rests_ = false;   // before the first note, until a message comes
    bool is_empty_ = true; // no message so far; used by the thread alone
    std::atomic<bool> failed_{false};
    std::mutex mutex_;
    std::condition_variable arrived_, made_room_;
    std::thread thread_;
};

} // namespace midi
