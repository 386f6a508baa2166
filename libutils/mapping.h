#pragma once
// The system's file mapping for alloc_mmap_win; mapping_win32.cpp and mapping_posix.cpp implement it. Every
// function that fails leaves the reason in system_error::last().

#include <cstdint>

namespace libutils::mapping {

// The numbers are those of the Windows calls, which take them as they are.
enum class protection : std::uint32_t { read_only = 2, read_write = 4 };
enum class access : std::uint32_t { read = 4, write = 2 };

// An open file: its handle or descriptor, and its size in bytes when it was opened.
struct file {
    std::intptr_t handle = -1;
    std::uint64_t size = 0;
    bool is_open() const { return handle != -1; }
};

// What views are cut from: a stretch of a file from its start, or memory that begins as zeros.
struct object {
    std::intptr_t handle = 0;
    std::uint64_t size = 0; // bytes
};

// No mapping of more bytes is tried: beyond what any x86-64 system hands to a process.
inline constexpr std::uint64_t address_space = std::uint64_t(1) << 47;

// Opens an existing file. On Windows without sharing, after waiting up to half a second for others to close
// it. Elsewhere with an advisory lock, if the file system has them: a writer needs an exclusive one; a reader
// takes a shared one if it can.
file open(const char* name, protection mode);
void close(file& opened);
// The size of the file at this moment; 0 when it cannot be asked.
std::uint64_t size_now(const file& opened);

// Makes the object of `size` bytes over a file (0: the whole file, which must not be empty; more than the
// file has fails for a reader and extends the file for a writer, on the disk too) or, with a file that is not
// open, over memory.
bool create(const file& over, protection mode, std::uint64_t size, object& made);
void destroy(object& made);

// `size` bytes (not 0) of the object from any byte `offset`; null when they do not all lie inside it, or when
// the disk has no room for what a writer may write there.
void* map(const object& from, const file& over, access mode, std::uint64_t offset, std::uint64_t size);
void unmap(void* view, std::uint64_t size);

// Tells the system that all of a view of memory will be written soon, so that it can provide large pages.
// Only affects how long the first writes take.
void expect_filling(void* view, std::uint64_t size);

// Gives a writable memory object and its one view another size, keeping the leading contents and adding
// zeros. Returns the new view; null leaves object and view as they were. Sizes are not 0.
void* resize_memory(object& made, void* view, std::uint64_t size);

} // namespace libutils::mapping
