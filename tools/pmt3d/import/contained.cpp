#include "tools/pmt3d/import/contained.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr int out_of_memory_code = 3;
constexpr std::uint64_t MiB = 1 << 20;

std::uint64_t mapped_at_start = 0;
std::uint64_t bytes_to_read = 0;

// The address space in use.
std::uint64_t mapped() {
    unsigned long long pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%llu", &pages) != 1) pages = 0;
        std::fclose(file);
    }
    return pages * std::uint64_t(sysconf(_SC_PAGESIZE));
}

void limit(int what, std::uint64_t most) {
    rlimit now{};
    if (getrlimit(__rlimit_resource_t(what), &now) != 0) return;
    now.rlim_cur = std::min<rlim_t>(most, now.rlim_max);
    setrlimit(__rlimit_resource_t(what), &now);
}

void set_limits() {
#ifndef QUENVAREL_SANITIZED // these reserve more addresses than any limit allows
    const std::uint64_t memory =
        std::uint64_t(sysconf(_SC_PHYS_PAGES)) * std::uint64_t(sysconf(_SC_PAGESIZE));
    limit(RLIMIT_AS, mapped_at_start + std::min(1024 * MiB + 40 * bytes_to_read, memory / 2));
#endif
    limit(RLIMIT_CPU, 20 + bytes_to_read / (2 * MiB));
}

[[noreturn]] void run(const std::function<void(int)>& work, int pipe) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGXCPU, SIGPIPE})
        signal(number, SIG_DFL);
    if (const int nowhere = open("/dev/null", O_RDWR); nowhere >= 0)
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            dup2(nowhere, stream);
    mapped_at_start = mapped();
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_STACK, 256 * MiB); // some parsers go as deep as their file
    set_limits();
    std::set_new_handler([] { _exit(out_of_memory_code); });
    try {
        work(pipe);
    } catch (const std::bad_alloc&) {
        _exit(out_of_memory_code);
    } catch (...) {
        std::abort();
    }
    _exit(0); // what was made is not taken apart again
}

} // namespace

contained_process::contained_process(const std::function<void(int)>& work) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    std::fflush(nullptr);
    process_ = fork();
    if (process_ == 0) {
        close(ends[0]);
        run(work, ends[1]);
    }
    close(ends[1]);
    pipe_ = ends[0];
}

contained_process::~contained_process() {
    if (process_ > 0) kill(process_, SIGKILL);
    end();
    if (pipe_ >= 0) close(pipe_);
}

contained_process::end_t contained_process::end() {
    if (process_ <= 0) return end_t::crashed;
    close(pipe_); // work that still writes ends
    pipe_ = -1;
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return end_t::done;
    if (WIFEXITED(status) && WEXITSTATUS(status) == out_of_memory_code) return end_t::out_of_memory;
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) return end_t::out_of_time;
    return end_t::crashed;
}

void contained_process::allow_for(std::uint64_t bytes) {
    bytes_to_read += bytes;
    set_limits();
}

} // namespace tool
