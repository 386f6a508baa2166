#include "libutils/mapping.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace libutils::mapping {

namespace {

std::uint64_t page_size() {
    static const std::uint64_t size = std::uint64_t(sysconf(_SC_PAGESIZE));
    return size;
}

file refuse(int descriptor, int reason) {
    ::close(descriptor);
    errno = reason;
    return {};
}

void* map_memory(access mode, std::uint64_t size) {
    const int rights = mode == access::write ? PROT_READ | PROT_WRITE : PROT_READ;
    // Without a reservation, storage that is never touched costs nothing, however large it is.
    void* view = mmap(nullptr, size, rights, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (view == MAP_FAILED) return nullptr;
#ifdef MADV_HUGEPAGE
    // Large arrays are filled several times as fast when they come in large pages. No matter where there are
    // none.
    constexpr std::uint64_t large = 4 << 20;
    if (size >= large) madvise(view, size, MADV_HUGEPAGE);
#endif
    return view;
}

} // namespace

file open(const char* name, protection mode) {
    const bool writing = mode == protection::read_write;
    // Not waiting matters for a named pipe, whose opening would otherwise last until somebody writes into it.
    const int descriptor = ::open(name, (writing ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return {};
    struct stat status;
    if (fstat(descriptor, &status) != 0) return refuse(descriptor, errno);
    if (S_ISDIR(status.st_mode)) return refuse(descriptor, EISDIR);
    if (!S_ISREG(status.st_mode)) return refuse(descriptor, ENODEV);
    // Only a lock that somebody holds is a reason to refuse; a file system without locks is none.
    if (flock(descriptor, (writing ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return refuse(descriptor, EWOULDBLOCK);
    return {descriptor, std::uint64_t(status.st_size)};
}

void close(file& opened) {
    ::close(int(opened.handle));
    opened = {};
}

bool create(const file& over, protection mode, std::uint64_t size, object& made) {
    if (over.is_open()) {
        if (size == 0) size = over.size;
        if (size == 0) {
            errno = ENODATA;
            return false;
        }
        if (size > over.size) {
            if (mode == protection::read_only) {
                errno = EINVAL;
                return false;
            }
            if (ftruncate(int(over.handle), off_t(size)) != 0) return false;
        }
    }
    made.size = size;
    return true;
}

void destroy(object& made) {
    made = {};
}

void* map(const object& from, const file& over, access mode, std::uint64_t offset, std::uint64_t size) {
    if (offset > from.size || size > from.size - offset) {
        errno = EINVAL;
        return nullptr;
    }
    if (!over.is_open()) return map_memory(mode, size);
    const std::uint64_t lead = offset % page_size();
    const int rights = mode == access::write ? PROT_READ | PROT_WRITE : PROT_READ;
    void* view = mmap(nullptr, size + lead, rights, MAP_SHARED, int(over.handle), off_t(offset - lead));
    return view == MAP_FAILED ? nullptr : static_cast<char*>(view) + lead;
}

void unmap(void* view, std::uint64_t size) {
    const std::uint64_t lead = reinterpret_cast<std::uintptr_t>(view) % page_size();
    munmap(static_cast<char*>(view) - lead, size + lead);
}

void expect_filling(void* view, std::uint64_t size) {
#ifdef MADV_HUGEPAGE
    // Fills a page of 2 MiB in the time of a few of 4 KiB; smaller storage has no room for one.
    constexpr std::uint64_t huge_page = std::uint64_t(2) << 20;
    if (size >= 2 * huge_page) madvise(view, size, MADV_HUGEPAGE);
#else
    (void)view, (void)size;
#endif
}

void* resize_memory(object& made, void* view, std::uint64_t size) {
#ifdef __linux__
    // The pages move, not their contents. What a smaller size has left behind in the last page is no fresh
    // storage.
    void* moved = mremap(view, made.size, size, MREMAP_MAYMOVE);
    if (moved == MAP_FAILED) return nullptr;
    const std::uint64_t kept = std::min(made.size, size);
    const std::uint64_t page_end = (kept + page_size() - 1) / page_size() * page_size();
    std::memset(static_cast<char*>(moved) + kept, 0, page_end - kept);
#else
    void* moved = map_memory(access::write, size);
    if (!moved) return nullptr;
    std::memcpy(moved, view, std::min(made.size, size));
    unmap(view, made.size);
#endif
    made.size = size;
    return moved;
}

} // namespace libutils::mapping
