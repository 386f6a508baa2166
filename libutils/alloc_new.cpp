#include "libutils/alloc_new.h"

#include "libutils/file_path.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <system_error>

namespace libutils {

namespace {

unsigned char* zeros(std::uint64_t size) {
    if (size > std::uint64_t(PTRDIFF_MAX)) return nullptr;
    return new (std::nothrow) unsigned char[std::size_t(size)]();
}

} // namespace

void* alloc_new::allocate(std::uint64_t& size, const char* name, int, std::uint64_t offset) {
    if (name && size == 0) {
        std::error_code failed;
        const std::uintmax_t whole = std::filesystem::file_size(file_path(name), failed);
        if (failed) return nullptr;
        size = whole;
    }
    unsigned char* buffer = zeros(size);
    if (!buffer) return nullptr;
    size_ = size;
    if (name) {
        std::ifstream in(name, std::ios::binary);
        if (in && in.seekg(std::streamoff(offset)))
            in.read(reinterpret_cast<char*>(buffer), std::streamsize(size));
    }
    return buffer;
}

void* alloc_new::reallocate(void* buffer, std::uint64_t size, std::uint64_t) {
    unsigned char* larger = zeros(size);
    if (!larger) return nullptr;
    if (buffer) std::memcpy(larger, buffer, std::size_t(std::min(size_, size)));
    size_ = size;
    deallocate(buffer);
    return larger;
}

void alloc_new::deallocate(void* buffer) {
    delete[] static_cast<unsigned char*>(buffer);
}

} // namespace libutils
