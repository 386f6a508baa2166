#pragma once
// Storage from the heap, with the operations of alloc_mmap_win.

#include <cstdint>

namespace libutils {

// One allocation; the object is its state. Storage begins as zeros. Sizes are bytes; all failures return
// null.
class alloc_new {
public:
    // With a file name: the storage holds `size` bytes of the file from byte `offset` on (size 0: as many as
    // the file has, and `size` becomes that number; null when it cannot be asked). What the file does not
    // give, also when it cannot be opened, stays zero. The mode does not matter.
    void* allocate(std::uint64_t& size, const char* name, int mode, std::uint64_t offset);
    // Keeps the leading contents; null leaves the old buffer as it was. The offset does not matter.
    void* reallocate(void* buffer, std::uint64_t size, std::uint64_t offset = 0);
    void deallocate(void* buffer);

private:
    std::uint64_t size_ = 0; // allocated bytes
};

} // namespace libutils
