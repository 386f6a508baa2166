#include "support/process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace test_support {

using std::chrono::milliseconds;
using clock = std::chrono::steady_clock;

process::process(const std::vector<std::string>& arguments, const process_options& options) {
    int out[2], err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) std::abort();
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        // It ends with a test that is killed: a JACK server that goes on holds one of the few places for
        // servers.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        for (const auto& [name, value] : options.environment)
            setenv(name.c_str(), value.c_str(), 1);
        if (!options.directory.empty() && chdir(options.directory.c_str()) != 0) _exit(126);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    close(err[1]);
    out_.descriptor = out[0];
    err_.descriptor = err[0];
}

process::~process() {
    if (!wait(milliseconds(0))) {
        send_signal(SIGKILL);
        wait();
    }
    for (stream* s : {&out_, &err_})
        if (s->descriptor >= 0) close(s->descriptor);
}

void process::send_signal(int number) {
    if (!exit_code_) kill(pid_, number);
}

bool process::pump(milliseconds limit) {
    pollfd waiting[2] = {{out_.descriptor, POLLIN, 0}, {err_.descriptor, POLLIN, 0}};
    if (out_.descriptor < 0 && err_.descriptor < 0) return false;
    if (poll(waiting, 2, int(limit.count())) <= 0) return true;
    for (stream* s : {&out_, &err_}) {
        if (!(waiting[s == &err_].revents & (POLLIN | POLLHUP))) continue;
        char buffer[65536];
        const ssize_t got = read(s->descriptor, buffer, sizeof buffer);
        if (got > 0)
            s->text.append(buffer, std::size_t(got));
        else if (got == 0 || errno != EINTR) {
            close(s->descriptor);
            s->descriptor = -1;
        }
    }
    return true;
}

bool process::wait_for(stream& which, const std::string& text, milliseconds limit) {
    const auto end = clock::now() + limit;
    for (;;) {
        if (const auto at = which.text.find(text, which.matched); at != std::string::npos) {
            which.matched = at + text.size();
            return true;
        }
        const auto left = std::chrono::duration_cast<milliseconds>(end - clock::now());
        if (left.count() <= 0 || which.descriptor < 0) return false;
        pump(left);
    }
}

std::optional<int> process::wait(milliseconds limit) {
    const auto end = clock::now() + limit;
    while (!exit_code_) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            break;
        }
        if (clock::now() >= end) return std::nullopt;
        // A full pipe would keep the program from ending.
        if (!pump(milliseconds(2))) std::this_thread::sleep_for(milliseconds(2));
    }
    return exit_code_;
}

const std::string& process::written(const stream& which) {
    // What a finished program wrote is all in the pipe already; a running one gets a moment.
    const auto end = clock::now() + milliseconds(exit_code_ ? 200 : 20);
    while (clock::now() < end && pump(milliseconds(5))) {
    }
    return which.text;
}

process_result run(const std::vector<std::string>& arguments, const process_options& options,
                   milliseconds limit) {
    process program(arguments, options);
    const std::optional<int> code = program.wait(limit);
    return {code.value_or(-1), program.out(), program.err()};
}

} // namespace test_support
