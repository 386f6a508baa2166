#include "standard_streams.h"

#include "libutils/report.h"

#include <cstdint>
#include <cstdio>
#include <iostream>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace tool {

bool read_standard_input(std::string& bytes) {
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    constexpr std::uint64_t most = std::uint64_t(1) << 32;
    static char piece[65536];
    while (const std::size_t size = std::fread(piece, 1, sizeof piece, stdin)) {
        if (bytes.size() + size > most) return libutils::report("standard input has more than 4 GiB.");
        bytes.append(piece, size);
    }
    return !std::ferror(stdin) || libutils::report("standard input cannot be read.");
}

void make_standard_output_binary() {
    std::cout.flush();
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
#endif
}

} // namespace tool
