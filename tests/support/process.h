#pragma once
// Other programs, run as a user's shell would run them, for the tests of whole programs. Linux only.

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace test_support {

// Nothing takes so long, however busy the machine is.
constexpr std::chrono::milliseconds generous = std::chrono::seconds(120);

struct process_options {
    std::map<std::string, std::string> environment; // added to this process's own
    std::string directory;                          // working directory; empty: this process's
};

struct process_result {
    int exit_code; // 128 + signal number when a signal ended it, -1 when it had to be killed at the limit
    std::string out, err;
};

// A running program. Its two output streams are read on demand through the functions below. The destructor
// kills what still runs.
class process {
public:
    // arguments[0] is looked up in PATH. A program that cannot be started ends with exit code 127.
    explicit process(const std::vector<std::string>& arguments, const process_options& options = {});
    ~process();
    process(const process&) = delete;
    process& operator=(const process&) = delete;

    pid_t pid() const { return pid_; }
    void send_signal(int number);
    // Waits until the text has appeared on standard error (or output) after what earlier calls have matched;
    // false when the time is over or the stream ended without it.
    bool wait_for_err(const std::string& text, std::chrono::milliseconds limit = generous) {
        return wait_for(err_, text, limit);
    }
    bool wait_for_out(const std::string& text, std::chrono::milliseconds limit = generous) {
        return wait_for(out_, text, limit);
    }
    // The exit code as in process_result, or nothing when it still runs after the limit.
    std::optional<int> wait(std::chrono::milliseconds limit = generous);
    // Everything written so far.
    const std::string& out() { return written(out_); }
    const std::string& err() { return written(err_); }

private:
    struct stream {
        int descriptor = -1;
        std::string text;
        std::size_t matched = 0;
    };
    bool pump(std::chrono::milliseconds limit); // reads what is there; false when both streams have ended
    const std::string& written(const stream& which);
    bool wait_for(stream& which, const std::string& text, std::chrono::milliseconds limit);

    pid_t pid_ = -1;
    std::optional<int> exit_code_;
    stream out_, err_;
};

// Runs a program to its end.
process_result run(const std::vector<std::string>& arguments, const process_options& options = {},
                   std::chrono::milliseconds limit = 3 * generous);

} // namespace test_support
