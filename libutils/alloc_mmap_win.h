#pragma once
// Storage from the operating system's mappings: a file read in place, or memory whose untouched pages cost
// nothing.

#include "libutils/file_view.h"
#include "libutils/mapping.h"

#include <cstdint>
#include <string>

namespace libutils {

// Which step of a mapping failed, and the system's error number for it.
struct mapping_failure {
    enum class step { none, mode, open, create, view };
    step at = step::none;
    int code = 0;

    std::string text() const; // the reason in words, without a line end
};

// One allocation; the object is its state. Every returned address is valid until the next reallocate or
// deallocate. Storage without a file begins as zeros; of size 0 it is legal, needs no mapping and has an
// address that holds nothing.
class alloc_mmap_win {
public:
    // Maps `size` bytes (0 with a file: the whole file, and `size` becomes the file's size) from byte
    // `offset` of the file `name`, or of memory when `name` is null. mode 0: read only; mode 1: read and
    // write, changes reach the file. A file that cannot be opened or mapped ends the process with the fatal
    // report; the other failures (another mode, a view beyond the storage, more than the address space)
    // return null.
    void* allocate(std::uint64_t& size, const char* name, int mode, std::uint64_t offset);

    // The same, but every failure returns null and says why: for files that may rightly be missing, empty,
    // locked, unreadable or shorter than asked. Nothing is reported. The file is opened once, so nothing can
    // change between asking and mapping.
    void* try_allocate(std::uint64_t& size, const char* name, int mode, std::uint64_t offset,
                       mapping_failure& why);

    // Gives the storage another size. Writable memory keeps its leading contents, fresh bytes are zero, and a
    // failure (null) leaves the old view in place. Anything else is mapped again from byte `offset` of the
    // same mapping; when that does not reach so far the result is null and the old view is gone. Size 0
    // unmaps and is no failure.
    void* reallocate(void* view, std::uint64_t size, std::uint64_t offset);

    // Unmaps and closes whatever is held. `view` is what the last successful call returned, or null.
    void deallocate(void* view);

    bool is_file() const { return file_.is_open(); } // that the storage lies in
    // False when the file has been truncated since it was mapped, or its disk has failed. The unreadable
    // bytes are zeros. Ask after reading.
    bool is_whole() const;

private:
    bool is_memory() const { return !is_file(); }
    void* map_view(std::uint64_t offset, std::uint64_t size);
    void unmap_view();
    void close();

    std::uint64_t size_ = 0; // of the view, in bytes
    mapping::protection protection_ = mapping::protection::read_write;
    mapping::access access_ = mapping::access::write;
    mapping::file file_; // not open: the storage is memory
    mapping::object object_;
    mapping::file_view watched_;
    void* view_ = nullptr; // survives a failed reallocate, whose caller no longer knows it
};

} // namespace libutils
