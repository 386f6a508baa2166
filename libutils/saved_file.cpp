#include "libutils/saved_file.h"

#include "libutils/file_path.h"

namespace libutils {

namespace fs = std::filesystem;

static std::FILE* open_file(const fs::path& name, const char* mode) {
#ifdef _WIN32
    return _wfopen(name.c_str(), std::wstring(mode, mode + std::string_view(mode).size()).c_str());
#else
    return std::fopen(name.c_str(), mode);
#endif
}

saved_file::saved_file(const std::string& name) : target_(file_path(name)) {
    std::error_code error;
    if (fs::is_symlink(target_, error)) {
        fs::path followed = fs::canonical(target_, error);
        if (!error) target_ = std::move(followed);
    }
    const fs::file_status old = fs::status(target_, error);
    if (fs::exists(old) && !fs::is_regular_file(old)) {
        if (!fs::is_directory(old)) file_ = open_file(target_, "wb");
        return;
    }
    if (fs::exists(old)) {
        // Renaming asks for no right on the file itself, so ask for it here.
        std::FILE* writable = open_file(target_, "r+b");
        if (!writable) return;
        std::fclose(writable);
    }
    for (int number = 0; number < 1000; ++number) {
        beside_ = target_;
        beside_ += ".saving" + std::to_string(number);
        if (!fs::exists(fs::symlink_status(beside_, error))) break;
    }
    file_ = open_file(beside_, "wb");
    if (file_ && fs::exists(old)) fs::permissions(beside_, old.permissions(), error);
}

bool saved_file::write(std::string_view bytes) {
    if (!file_) return false;
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) good_ = false;
    return good_;
}

bool saved_file::commit() {
    if (!file_) return false;
    good_ = std::fflush(file_) == 0 && good_;
    good_ = std::fclose(file_) == 0 && good_;
    file_ = nullptr;
    if (beside_.empty()) return good_;
    std::error_code error;
    if (good_) {
        fs::rename(beside_, target_, error); // replaces on Windows as well
        good_ = !error;
    }
    if (!good_) fs::remove(beside_, error);
    return good_;
}

void saved_file::discard() {
    if (!file_) return;
    std::fclose(file_);
    file_ = nullptr;
    std::error_code error;
    if (!beside_.empty()) fs::remove(beside_, error);
}

} // namespace libutils
