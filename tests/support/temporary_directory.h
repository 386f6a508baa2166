#pragma once
// A directory of its own for one test, removed with everything in it.

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace test_support {

class temporary_directory {
public:
    temporary_directory() {
        static std::atomic<unsigned> made{0};
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        path_ = std::filesystem::temp_directory_path() /
                ("quenvarel-test-" + std::to_string(now) + "-" + std::to_string(made++));
        std::filesystem::create_directories(path_);
    }
    ~temporary_directory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    temporary_directory(const temporary_directory&) = delete;
    temporary_directory& operator=(const temporary_directory&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // The full name of a file in the directory, as the program's own functions take it.
    std::string file(std::string_view name) const { return (path_ / name).string(); }
    // Writes a file of the directory, byte for byte, and returns its full name.
    std::string write(std::string_view name, std::string_view bytes) const {
        std::ofstream(path_ / name, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
        return file(name);
    }

private:
    std::filesystem::path path_;
};

// All bytes of a file; empty when it cannot be opened.
inline std::string read_file(const std::filesystem::path& name) {
    std::ifstream in(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace test_support
