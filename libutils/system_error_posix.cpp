#include "libutils/system_error.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace libutils::system_error {

int last() noexcept {
    return errno;
}

std::string text(int code) {
    return std::strerror(code);
}

void show(const char* text, const char*) {
    std::cerr << text << std::endl;
}

void end_process(int code) noexcept {
    std::_Exit(code);
}

} // namespace libutils::system_error
