// What happens to the program's console. A program whose streams are pipes has none under Wine, and the
// signals that Wine turns into such events break what they interrupt, such as malloc; so they are raised from
// within, as the system does it: in a thread of the program that calls its handlers.
#include "stand_in.h"

#include <fstream>
#include <thread>

namespace {

void raise_event(DWORD event) {
    const auto handlers_are_called = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernelbase.dll"), "CtrlRoutine")));
    CloseHandle(
        CreateThread(nullptr, 0, handlers_are_called, reinterpret_cast<void*>(DWORD_PTR(event)), 0, nullptr));
}

void follow(const std::string& name) {
    for (std::streamoff seen = 0;; Sleep(2)) {
        std::ifstream in(name);
        in.seekg(seen);
        for (std::string line; std::getline(in, line) && !in.eof(); seen += std::streamoff(line.size()) + 1)
            raise_event(DWORD(std::stoul(line)));
    }
}

// From before the program's first instruction to its end.
const bool following = [] {
    const std::string name = winmm_stand_in::variable("QUENVAREL_WINMM_CONSOLE", "");
    if (!name.empty()) std::thread(follow, name).detach();
    return true;
}();

} // namespace
