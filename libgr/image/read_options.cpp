#include "libgr/image/read_options.h"

#include "libutils/report.h"

namespace libgr {

bool is_allowed(std::uint64_t bytes, const read_options& options, const std::string& name) {
    constexpr std::uint64_t mib = 1 << 20;
    return bytes <= options.most_bytes ||
           libutils::report(name, ": picture needs ", bytes / mib + 1, " MiB of memory, more than the ",
                            options.most_bytes / mib, " MiB allowed.");
}

} // namespace libgr
