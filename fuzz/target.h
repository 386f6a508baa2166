#pragma once
// What the fuzz targets share: demands that end the process, and inputs as files.

#include "support/capture.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

inline void demand(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "Broken promise: %s\n", what);
    std::abort();
}

// Standard error of one reading, kept from the terminal.
struct messages : test_support::capture {
    messages() : capture(std::cerr) {}
    std::int64_t lines() const {
        const std::string all = text();
        return std::count(all.begin(), all.end(), '\n');
    }
};

// The files of a target, in a directory that goes with the process.
inline const test_support::temporary_directory& files() {
    static const test_support::temporary_directory directory;
    return directory;
}

// Whether the input is one of the one in `every` that is also put to a dearer question; the same ones each
// time.
inline bool is_one_in(std::uint32_t every, const std::uint8_t* data, std::size_t size) {
    std::uint32_t hash = 2166136261u;
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ data[i]) * 16777619u;
    return (hash >> 16) % every == 0;
}

// Whether this input goes through files. The others stay in memory, which is many times as fast and, in
// memory of exactly their size, shows every byte that is read beyond their end.
inline bool goes_through_files(const std::uint8_t* data, std::size_t size) {
    return is_one_in(16, data, size);
}

// The input as a file of that name.
inline std::string input_file(const char* name, const std::uint8_t* data, std::size_t size) {
    return files().write(name, {reinterpret_cast<const char*>(data), size});
}

} // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
