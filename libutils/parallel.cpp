#include "libutils/parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace libutils {

namespace {
std::optional<sharing> fixed_now;
} // namespace

sharing sharing_for(std::uint64_t bytes) {
    constexpr std::uint64_t large = std::uint64_t(4) << 20;
    constexpr unsigned most = 16;
    if (fixed_now) return *fixed_now;
    return {bytes < large ? 1 : std::min(processor_count(), most)};
}

fixed_sharing::fixed_sharing(const sharing& fixed) {
    fixed_now = fixed;
}

fixed_sharing::~fixed_sharing() {
    fixed_now.reset();
}

void on_threads(unsigned threads, const std::function<void(unsigned thread)>& work) {
    std::mutex mutex;
    std::exception_ptr thrown;
    const auto take_part = [&](unsigned thread) {
        try {
            work(thread);
        } catch (...) {
            const std::lock_guard lock(mutex);
            if (!thrown) thrown = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> others;
        try {
            others.reserve(threads);
            for (unsigned thread = 1; thread < threads; ++thread)
                others.emplace_back(take_part, thread);
        } catch (const std::system_error&) {
            // Those that have started will do.
        } catch (const std::bad_alloc&) {
        }
        take_part(0);
    }
    if (thrown) std::rethrow_exception(thrown);
}

void for_each_piece(unsigned threads, std::uint64_t pieces,
                    const std::function<void(std::uint64_t piece, unsigned thread)>& work) {
    std::atomic<std::uint64_t> next = 0;
    on_threads(unsigned(std::min<std::uint64_t>(threads, pieces)), [&](unsigned thread) {
        try {
            for (std::uint64_t piece; (piece = next++) < pieces;)
                work(piece, thread);
        } catch (...) {
            next = pieces;
            throw;
        }
    });
}

} // namespace libutils
