// Mapping a large file against the bare system calls.

#include "goals.h"
#include "libutils/refvector2.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A sparse file of 1 GiB.
class large_file {
public:
    large_file() {
        const int descriptor = mkstemp(name_.data());
        if (descriptor < 0 || ftruncate(descriptor, off_t(1) << 30) != 0) std::abort();
        close(descriptor);
    }
    ~large_file() { unlink(name_.c_str()); }
    large_file(const large_file&) = delete;
    large_file& operator=(const large_file&) = delete;
    const char* name() const { return name_.c_str(); }

private:
    std::string name_ = (std::filesystem::temp_directory_path() / "quenvarel-bench-XXXXXX").string();
};

constexpr std::size_t first_page = 4096;

template <class Bytes>
unsigned sum(const Bytes* bytes) {
    unsigned total = 0;
    for (std::size_t i = 0; i < first_page; ++i)
        total += static_cast<unsigned char>(bytes[i]);
    return total;
}

void large_file_refvector2(benchmark::State& state) {
    const large_file file;
    for (auto _ : state) {
        libutils::refvector2<unsigned char> bytes;
        if (!bytes.try_allocate(0, file.name()) || bytes.size() != std::uint64_t(1) << 30)
            state.SkipWithError("not mapped");
        else
            benchmark::DoNotOptimize(sum(bytes.data()));
    }
}
BENCHMARK(large_file_refvector2);

void large_file_mmap(benchmark::State& state) {
    const large_file file;
    for (auto _ : state) {
        const int descriptor = open(file.name(), O_RDONLY | O_CLOEXEC);
        struct stat status;
        if (fstat(descriptor, &status) != 0) std::abort();
        void* view = mmap(nullptr, std::size_t(status.st_size), PROT_READ, MAP_SHARED, descriptor, 0);
        if (view == MAP_FAILED) std::abort();
        benchmark::DoNotOptimize(sum(static_cast<const char*>(view)));
        munmap(view, std::size_t(status.st_size));
        close(descriptor);
    }
}
BENCHMARK(large_file_mmap);

// Growing an array in steps, like a reader that does not know the count.
void grow_refvector2(benchmark::State& state) {
    for (auto _ : state) {
        libutils::refvector2<float> values;
        for (std::uint64_t size = 1 << 14; size <= 1 << 22; size *= 2) {
            values.resize(size);
            for (std::uint64_t i = size / 2; i < size; i += 1024)
                values.data()[i] = 1.0f;
        }
    }
}
BENCHMARK(grow_refvector2);

void grow_calloc_and_copy(benchmark::State& state) {
    for (auto _ : state) {
        float* values = nullptr;
        for (std::size_t size = 1 << 14; size <= 1 << 22; size *= 2) {
            auto* larger = static_cast<float*>(std::calloc(size, sizeof(float)));
            if (values) std::copy(values, values + size / 2, larger);
            std::free(values);
            values = larger;
            for (std::size_t i = size / 2; i < size; i += 1024)
                values[i] = 1.0f;
        }
        benchmark::DoNotOptimize(values);
        std::free(values);
    }
}
BENCHMARK(grow_calloc_and_copy);

const benchmarks::goal goals[] = {
    {{"mapping 1 GiB and reading its first page", "large_file_refvector2", "large_file_mmap", "bare mmap",
      1.0, "system"}},
    {{"growing an array in steps", "grow_refvector2", "grow_calloc_and_copy", "calloc and copy", 1.0}},
};

} // namespace
