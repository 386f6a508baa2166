#include "app/interrupt.h"

#include <atomic>
#include <csignal>

namespace quenvarel {

namespace {

void (*leave_program)() = nullptr;
std::atomic<bool> requested = false;
std::atomic<bool> noticed = false;

void on_signal(int number) {
    if (requested.exchange(true) && !noticed) {
        std::signal(number, SIG_DFL);
        std::raise(number);
        return;
    }
    leave_program();
}

} // namespace

void install_interrupt_handler(void (*leave)()) {
    leave_program = leave;
    struct sigaction action = {};
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // A program started to survive its terminal does.
    struct sigaction hangup = {};
    sigaction(SIGHUP, nullptr, &hangup);
    if (hangup.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
    // Nobody reading the traces any more is no reason to die with notes sounding.
    std::signal(SIGPIPE, SIG_IGN);
}

void interrupts_are_noticed() {
    noticed = true;
}

} // namespace quenvarel
