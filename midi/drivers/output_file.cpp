#include "midi/drivers/output_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace midi {

output_file::~output_file() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

bool output_file::create(const std::string& stem, const std::string& extension) {
    constexpr int most_names = 100000;
    for (int number = 0; number < most_names && descriptor_ < 0; ++number) {
        name_ = number ? stem + "-" + std::to_string(number) + extension : stem + extension;
        descriptor_ = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor_ < 0 && errno != EEXIST) return false;
    }
    return descriptor_ >= 0;
}

void output_file::remove() {
    struct stat ours, named;
    const bool is_ours = fstat(descriptor_, &ours) == 0 && lstat(name_.c_str(), &named) == 0 &&
                         ours.st_dev == named.st_dev && ours.st_ino == named.st_ino;
    if (is_ours) unlink(name_.c_str());
}

bool output_file::write(std::uint64_t position, const void* bytes, std::size_t count) {
    const char* from = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t written = ::pwrite(descriptor_, from, count, static_cast<off_t>(position));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        from += written;
        position += static_cast<std::uint64_t>(written);
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace midi
