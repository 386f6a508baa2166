#include "libutils/unfinished_file.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace libutils::unfinished_file {

namespace fs = std::filesystem;

// Whether the open file still has that name in the folder; nothing when the system does not tell.
static std::optional<bool> has_name(int descriptor, int folder, const char* name) {
    struct stat opened, named;
    if (fstat(descriptor, &opened) != 0) return {};
    if (fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? std::optional(false) : std::nullopt;
    return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

std::FILE* create(const fs::path& name, std::intptr_t& hold) {
    const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) return nullptr;
    // Between the creation and the lock another process may have taken the file for an abandoned one. A file
    // system without locks has no such process either.
    const bool is_taken = flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    const bool is_ours = !is_taken && has_name(descriptor, AT_FDCWD, name.c_str()).value_or(true);
    const int held = is_ours ? fcntl(descriptor, F_DUPFD_CLOEXEC, 0) : -1;
    std::FILE* const stream = held < 0 ? nullptr : fdopen(descriptor, "wb");
    if (stream) {
        hold = held;
    } else {
        if (is_ours) ::unlink(name.c_str());
        ::close(descriptor);
        if (held >= 0) ::close(held);
    }
    return stream;
}

void let_go(std::intptr_t hold) {
    ::close(int(hold));
}

static void remove_abandoned(int folder, const char* name) {
    const int descriptor = openat(folder, name, O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (descriptor < 0) return;
    // Only who has the lock removes, so the name cannot become another file's in between.
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0 && has_name(descriptor, folder, name).value_or(false))
        unlinkat(folder, name, 0);
    ::close(descriptor);
}

void remove_abandoned(const fs::path& unnumbered) {
    const fs::path parent = unnumbered.has_parent_path() ? unnumbered.parent_path() : ".";
    const std::string beginning = unnumbered.filename();
    DIR* const folder = opendir(parent.c_str());
    if (!folder) return;
    while (const dirent* entry = readdir(folder))
        if (is_numbered<char>(entry->d_name, beginning)) remove_abandoned(dirfd(folder), entry->d_name);
    closedir(folder);
}

std::FILE* open_in_place(const fs::path& name) {
    return std::fopen(name.c_str(), "wb");
}

bool may_write(const fs::path& name) {
    const int descriptor = ::open(name.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor >= 0) ::close(descriptor);
    return descriptor >= 0;
}

bool replace(const fs::path& from, const fs::path& to) {
    return ::rename(from.c_str(), to.c_str()) == 0;
}

} // namespace libutils::unfinished_file
