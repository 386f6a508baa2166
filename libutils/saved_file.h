#pragma once
// Saves a file so that a failure leaves the old one intact.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace libutils {

// A file being saved. The bytes go to a new file in the same folder, whose name has ".saving" and a number
// added. commit() replaces the old file with it and keeps the permissions; until then, or when anything
// fails, the old file is untouched and the new one is removed. When several processes save the same file at
// once, each save is complete and the last one stays. The next save of a file removes what a killed save has
// left. Symbolic links are followed. Pipes and devices are written directly. A file without write permission
// is not replaced. Nothing is reported: every failure is a false result.
class saved_file {
public:
    explicit saved_file(const std::string& name);
    ~saved_file() { discard(); }
    saved_file(const saved_file&) = delete;
    saved_file& operator=(const saved_file&) = delete;

    // False when the folder or the old file cannot be written.
    bool is_open() const { return file_ != nullptr; }
    // Appends the bytes. False, now and from then on, once a write has failed.
    bool write(std::string_view bytes);
    // Completes the save and closes. False when any byte could not be written or the file could not take its
    // place.
    bool commit();

private:
    void discard();
    void finish();

    std::filesystem::path target_, beside_; // beside_ is empty when the target is written directly
    std::FILE* file_ = nullptr;
    std::intptr_t hold_ = 0; // on beside_
    bool good_ = true;
};

} // namespace libutils
