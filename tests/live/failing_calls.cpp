// Loaded into a program in front of its libraries: of the calls to the system that the program's own code
// makes, directly or through the standard library, those of one place fail, the first time that it is
// reached. A place is the function and the chain of the program's own callers. QUENVAREL_PLACES: the file
// that gets a line "NUMBER FUNCTION" for each place when it is first reached. QUENVAREL_PLACE_TO_FAIL: the
// number of one. The numbers are the same in every run of the same program.

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <pthread.h>
#include <stdio_ext.h>
#include <sys/auxv.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Who is watching asks the system itself.
void say(const char* text, std::size_t size) {
    static const char* const name = std::getenv("QUENVAREL_PLACES");
    if (!name) return;
    const long file = syscall(SYS_openat, AT_FDCWD, name, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0) return;
    syscall(SYS_write, file, text, size);
    syscall(SYS_close, file);
}

const void* object_of(void* address) {
    dl_find_object about{};
    return _dl_find_object(address, &about) == 0 ? about.dlfo_map_start : nullptr;
}

// Whether the library passes on what its caller wants: the standard libraries of C and C++, and this one.
bool passes_on(const void* object) {
    static const void* const through[] = {object_of(reinterpret_cast<void*>(&std::get_new_handler)),
                                          object_of(reinterpret_cast<void*>(&std::memcmp)),
                                          object_of(reinterpret_cast<void*>(&say))};
    return object == through[0] || object == through[1] || object == through[2];
}

thread_local bool inside = false; // the watch itself

bool fails(const char* function) {
    static const void* const program = object_of(reinterpret_cast<void*>(getauxval(AT_ENTRY)));
    static const char* const wanted = std::getenv("QUENVAREL_PLACE_TO_FAIL");
    static const std::uint64_t place_wanted = wanted ? std::strtoull(wanted, nullptr, 16) : 0;
    if (inside) return false;
    inside = true;
    void* callers[24];
    const int count = backtrace(callers, 24);
    std::uint64_t place = 14695981039346656037u;
    const auto mix = [&place](std::uint64_t value) { place = (place ^ value) * 1099511628211u; };
    for (const char* at = function; *at; ++at)
        mix(std::uint64_t(*at));
    int own = 0;
    for (int i = 0; i < count; ++i) {
        const void* const object = object_of(callers[i]);
        if (object == program) {
            mix(std::uint64_t(static_cast<char*>(callers[i]) - static_cast<const char*>(program)));
            ++own;
        } else if (own > 0 || !passes_on(object)) {
            break; // callbacks of libraries count by what is in the program
        }
    }
    bool failing = false;
    if (own > 0) {
        static std::uint64_t seen[4096];
        std::uint64_t* slot = &seen[place % 4096];
        while (*slot && *slot != place)
            slot = slot == &seen[4095] ? seen : slot + 1;
        if (!*slot) {
            *slot = place;
            failing = place == place_wanted;
            char line[96];
            say(line, std::size_t(std::snprintf(line, sizeof line, "%016llx %s%s\n",
                                                static_cast<unsigned long long>(place), function,
                                                failing ? " failed" : "")));
        }
    }
    inside = false;
    return failing;
}

struct starting {
    starting() { // what backtrace() loads when it is first called
        void* here[1];
        inside = true;
        backtrace(here, 1);
        inside = false;
    }
} start;

template <class Function>
Function real(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

// FAILING(RESULT, NAME, (PARAMETERS), (ARGUMENTS), FAILURE, ERROR)
#define FAILING(type, name, parameters, arguments, failure, error)                                           \
    extern "C" type name parameters {                                                                        \
        static const auto next = real<type(*) parameters>(#name);                                            \
        if (fails(#name)) {                                                                                  \
            errno = error;                                                                                   \
            return failure;                                                                                  \
        }                                                                                                    \
        return next arguments;                                                                               \
    }

#pragma GCC diagnostic ignored "-Wshadow" // flock() is a structure, too
FAILING(std::FILE*, fopen, (const char* name, const char* mode), (name, mode), nullptr, EMFILE)
FAILING(std::FILE*, fopen64, (const char* name, const char* mode), (name, mode), nullptr, EMFILE)
FAILING(std::FILE*, fdopen, (int file, const char* mode) noexcept, (file, mode), nullptr, ENOMEM)
FAILING(std::size_t, fwrite, (const void* from, std::size_t size, std::size_t count, std::FILE* to),
        (from, size, count, to), 0, ENOSPC)
FAILING(DIR*, opendir, (const char* name), (name), nullptr, EMFILE)
FAILING(ssize_t, read, (int file, void* to, std::size_t size), (file, to, size), -1, EIO)
FAILING(ssize_t, pread, (int file, void* to, std::size_t size, off_t at), (file, to, size, at), -1, EIO)
FAILING(ssize_t, write, (int file, const void* from, std::size_t size), (file, from, size), -1, ENOSPC)
FAILING(ssize_t, pwrite, (int file, const void* from, std::size_t size, off_t at), (file, from, size, at), -1,
        ENOSPC)
FAILING(void*, mmap, (void* at, std::size_t size, int rights, int flags, int file, off_t offset) noexcept,
        (at, size, rights, flags, file, offset), MAP_FAILED, ENOMEM)
FAILING(std::size_t, fread, (void* to, std::size_t size, std::size_t count, std::FILE* from),
        (to, size, count, from), 0, EIO)
FAILING(int, eventfd, (unsigned value, int flags) noexcept, (value, flags), -1, EMFILE)
FAILING(int, poll, (pollfd * files, nfds_t count, int limit), (files, count, limit), -1, ENOMEM)
FAILING(int, chdir, (const char* name) noexcept, (name), -1, EACCES)
FAILING(int, fstatat, (int folder, const char* name, struct stat* about, int flags) noexcept,
        (folder, name, about, flags), -1, EIO)
FAILING(int, unlinkat, (int folder, const char* name, int flags) noexcept, (folder, name, flags), -1, EACCES)
FAILING(int, ftruncate, (int file, off_t size) noexcept, (file, size), -1, EIO)
FAILING(int, posix_fallocate, (int file, off_t at, off_t size), (file, at, size), ENOSPC, ENOSPC)
FAILING(int, fsync, (int file), (file), -1, EIO)
FAILING(int, fdatasync, (int file), (file), -1, EIO)
FAILING(int, flock, (int file, int how) noexcept, (file, how), -1, EINTR)
FAILING(int, fstat, (int file, struct stat* about) noexcept, (file, about), -1, EIO)
FAILING(int, rename, (const char* from, const char* to) noexcept, (from, to), -1, EACCES)
FAILING(int, unlink, (const char* name) noexcept, (name), -1, EACCES)
FAILING(int, mkdir, (const char* name, mode_t mode) noexcept, (name, mode), -1, EACCES)
FAILING(int, pipe, (int* ends) noexcept, (ends), -1, EMFILE)
FAILING(int, pipe2, (int* ends, int flags) noexcept, (ends, flags), -1, EMFILE)
FAILING(int, socket, (int domain, int type, int protocol) noexcept, (domain, type, protocol), -1, EMFILE)
FAILING(int, connect, (int file, const sockaddr* to, socklen_t size), (file, to, size), -1, ECONNREFUSED)
FAILING(pid_t, fork, () noexcept, (), -1, EAGAIN)
FAILING(int, pthread_create,
        (pthread_t * thread, const pthread_attr_t* how, void* (*run)(void*), void* with) noexcept,
        (thread, how, run, with), EAGAIN, EAGAIN)

// Those with an optional third argument.
#define FAILING_OPEN(name, before_type, before)                                                              \
    extern "C" int name(before_type const char* path, int flags, ...) {                                      \
        static const auto next = real<int (*)(before_type const char*, int, ...)>(#name);                    \
        va_list rest;                                                                                        \
        va_start(rest, flags);                                                                               \
        const unsigned mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(rest, unsigned) : 0;                    \
        va_end(rest);                                                                                        \
        if (fails(#name)) {                                                                                  \
            errno = EMFILE;                                                                                  \
            return -1;                                                                                       \
        }                                                                                                    \
        return next(before path, flags, mode);                                                               \
    }
#define NOTHING
#define FOLDER_TYPE int folder,
#define FOLDER folder,
FAILING_OPEN(open, NOTHING, NOTHING)
FAILING_OPEN(open64, NOTHING, NOTHING)
FAILING_OPEN(openat, FOLDER_TYPE, FOLDER)
FAILING_OPEN(openat64, FOLDER_TYPE, FOLDER)

// What open() becomes where the compiler checks its arguments.
extern "C" int __open_2(const char* path, int flags) {
    static const auto next = real<int (*)(const char*, int)>("__open_2");
    if (fails("open")) {
        errno = EMFILE;
        return -1;
    }
    return next(path, flags);
}

// What was not written yet is lost.
extern "C" int fflush(std::FILE* file) {
    static const auto next = real<int (*)(std::FILE*)>("fflush");
    if (!fails("fflush")) return next(file);
    if (file) __fpurge(file);
    errno = ENOSPC;
    return EOF;
}

// Closes it all the same, as the system does; what was written is lost, as on a server that is full.
extern "C" int fclose(std::FILE* file) {
    static const auto next = real<int (*)(std::FILE*)>("fclose");
    const bool failing = fails("fclose");
    const bool is_cut =
        failing && syscall(SYS_ftruncate, fileno(file), 0) == 0; // one that is only read stays
    const int result = next(file);
    if (!failing) return result;
    errno = is_cut ? ENOSPC : EIO;
    return EOF;
}

extern "C" int fcntl(int file, int command, ...) {
    static const auto next = real<int (*)(int, int, ...)>("fcntl");
    va_list rest;
    va_start(rest, command);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    if (fails("fcntl")) {
        errno = EMFILE;
        return -1;
    }
    return next(file, command, argument);
}
