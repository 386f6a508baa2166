#include "libutils/file_view.h"
#include "libutils/mapping.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
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

// Gives that part of the file its place on the disk, so that no write into a view can fail.
bool has_room(const file& over, std::uint64_t offset, std::uint64_t size) {
    const int descriptor = int(over.handle);
    const int refused = posix_fallocate(descriptor, off_t(offset), off_t(size));
    if (refused == 0) return true;
    if (size_now(over) > over.size && ftruncate(descriptor, off_t(over.size)) != 0) return false;
    errno = refused;
    return false;
}

struct sigaction before_us;

// Runs in the midst of the read that failed, which is then tried again.
void fill_hole(int number, siginfo_t* fault, void*) {
    const int error = errno;
    const bool is_sent = fault->si_code <= 0; // by somebody, not a fault
    file_view* const view = is_sent ? nullptr : watched_view_at(fault->si_addr);
    if (!view) {
        // As if this function were not there. A fault comes again by itself.
        sigaction(number, &before_us, nullptr);
        if (is_sent) raise(number);
        return;
    }
    // What has been read before stays as it is; what lies behind the hole would be of no use.
    char* const page =
        static_cast<char*>(fault->si_addr) - reinterpret_cast<std::uintptr_t>(fault->si_addr) % page_size();
    const auto size = std::size_t(view->begin + view->size - page);
    if (mmap(page, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED, -1,
             0) == MAP_FAILED)
        sigaction(number, &before_us, nullptr);
    view->has_hole = true;
    errno = error;
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
    if (flock(descriptor, (writing ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0 && errno == EWOULDBLOCK && writing)
        return refuse(descriptor, EWOULDBLOCK);
    return {descriptor, std::uint64_t(status.st_size)};
}

void close(file& opened) {
    ::close(int(opened.handle));
    opened = {};
}

std::uint64_t size_now(const file& opened) {
    struct stat status;
    return fstat(int(opened.handle), &status) == 0 ? std::uint64_t(status.st_size) : 0;
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
            if (!has_room(over, over.size, size - over.size)) return false;
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
    if (mode == access::write && !has_room(over, offset, size)) return nullptr;
    const std::uint64_t lead = offset % page_size();
    const int rights = mode == access::write ? PROT_READ | PROT_WRITE : PROT_READ;
    void* view = mmap(nullptr, size + lead, rights, MAP_SHARED, int(over.handle), off_t(offset - lead));
    return view == MAP_FAILED ? nullptr : static_cast<char*>(view) + lead;
}

void unmap(void* view, std::uint64_t size) {
    const std::uint64_t lead = reinterpret_cast<std::uintptr_t>(view) % page_size();
    munmap(static_cast<char*>(view) - lead, size + lead);
}

void expect_holes() {
    page_size(); // asks the system, which the handler must not do first
    struct sigaction ours = {};
    ours.sa_sigaction = fill_hole;
    ours.sa_flags = SA_SIGINFO;
    sigaction(SIGBUS, &ours, &before_us);
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
