#pragma once
// Runs work that may crash, or want all memory there is, in a process of its own.

#include <cstdint>
#include <functional>
#include <sys/types.h>

namespace tool {

class contained_process {
public:
    enum class end_t { done, crashed, out_of_memory, out_of_time };

    // Starts the work, which writes what it has to say to a pipe. Its streams lead nowhere.
    explicit contained_process(const std::function<void(int pipe)>& work);
    ~contained_process();
    contained_process(const contained_process&) = delete;
    contained_process& operator=(const contained_process&) = delete;

    bool started() const { return process_ > 0; }
    int pipe() const { return pipe_; }
    // Waits for it and says how it ended. Work that has more to write ends at once.
    end_t end();

    // To be called by the work: it reads so many bytes, and may have memory and time for them. Memory: 1 GiB
    // and forty times the bytes, at most half of the machine's. Time: 20 seconds of the processor and one for
    // each 2 MiB.
    static void allow_for(std::uint64_t bytes);

private:
    pid_t process_ = -1;
    int pipe_ = -1;
};

} // namespace tool
