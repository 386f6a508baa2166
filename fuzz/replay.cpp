// Runs a fuzz target without a fuzzer: on the files named on the command line, or on its seeds, each also cut
// off anywhere and with bytes set to extremes, and on every input that once broke a promise. A broken promise
// aborts the process.

#include "fuzz/target.h"
#include "libutils/error_report.h"

#include <filesystem>
#include <iostream>
#include <vector>

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace {

namespace fs = std::filesystem;

void run(std::string_view bytes) {
    // In memory of exactly that size, so that reading beyond the end is seen.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

void run_file(const fs::path& name) {
    std::cout << name.filename().string() << std::endl;
    run(test_support::read_file(name));
}

void run_cut_off(std::string_view bytes) {
    constexpr std::size_t most_cuts = 300;
    const std::size_t step = bytes.size() / most_cuts + 1;
    for (std::size_t size = 0; size < bytes.size(); size += step)
        run(bytes.substr(0, size));
}

void run_changed(std::string bytes) {
    constexpr std::size_t most_places = 200;
    const std::size_t step = bytes.size() / most_places + 1;
    for (std::size_t at = 0; at < bytes.size(); at += step) {
        const char original = bytes[at];
        for (const int extreme : {0x00, 0x80, 0xFF}) {
            bytes[at] = char(extreme);
            run(bytes);
        }
        bytes[at] = original;
    }
}

std::vector<fs::path> files_in(const fs::path& folder) {
    std::vector<fs::path> names;
    if (fs::is_directory(folder))
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            names.push_back(entry.path());
    std::sort(names.begin(), names.end());
    return names;
}

// The most memory that was in use at a time, in MiB.
long peak_memory() {
#ifdef _WIN32
    return 0;
#else
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
#endif
}

} // namespace

int main(int argc, char** argv) {
    libutils::set_fatal_presenter([](const char* text, const char*) { std::cerr << text << std::endl; });
    for (int i = 1; i < argc; ++i)
        run_file(argv[i]);
    if (argc > 1) return 0;

    const std::vector<fs::path> seeds = files_in(QUENVAREL_FUZZ_SEEDS);
    fuzz::demand(!seeds.empty(), "there are seeds in " QUENVAREL_FUZZ_SEEDS);
    for (const fs::path& seed : seeds) {
        run_file(seed);
        run_cut_off(test_support::read_file(seed));
        run_changed(test_support::read_file(seed));
    }
    for (const fs::path& found : files_in(QUENVAREL_FUZZ_REGRESSIONS))
        run_file(found);
    std::cout << "peak memory: " << peak_memory() << " MiB" << std::endl;
    fuzz::demand(peak_memory() < QUENVAREL_FUZZ_MEMORY, "no input needs more memory than the cap");
    return 0;
}
