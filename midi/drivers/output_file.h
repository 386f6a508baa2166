#pragma once
// A file that a device writes while it plays.

#include <cstddef>
#include <cstdint>
#include <string>

namespace midi {

// Written at chosen positions, each call at once, so that whoever reads it meanwhile, or after the process
// was killed, sees everything up to the last call. Closed when destroyed.
class output_file {
public:
    output_file() = default;
    ~output_file();
    output_file(const output_file&) = delete;
    output_file& operator=(const output_file&) = delete;

    // Creates stem + extension in the working directory, or the first of stem-1, stem-2, ... that does not
    // exist. Never touches an existing file. False when that fails.
    bool create(const std::string& stem, const std::string& extension);
    // The name that was chosen.
    const std::string& name() const { return name_; }
    // False when not all of it could be written, as on a full disk.
    bool write(std::uint64_t position, const void* bytes, std::size_t count);
    // Removes the file, unless its name has become another file's.
    void remove();

private:
    std::string name_;
    int descriptor_ = -1;
};

} // namespace midi
