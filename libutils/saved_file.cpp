#include "libutils/saved_file.h"

#include "libutils/file_path.h"
#include "libutils/unfinished_file.h"

namespace libutils {

namespace fs = std::filesystem;

// The name of an unfinished file, but for its number.
static fs::path unnumbered(fs::path target) {
    return target += ".saving";
}

saved_file::saved_file(const std::string& name) : target_(file_path(name)) {
    std::error_code error;
    if (fs::is_symlink(target_, error)) {
        fs::path followed = fs::canonical(target_, error);
        if (!error) target_ = std::move(followed);
    }
    const fs::file_status old = fs::status(target_, error);
    if (fs::exists(old) && !fs::is_regular_file(old)) {
        if (!fs::is_directory(old)) file_ = unfinished_file::open_in_place(target_);
        return;
    }
    // Renaming asks for no right on the file itself, so ask for it here.
    if (fs::exists(old) && !unfinished_file::may_write(target_)) return;
    unfinished_file::remove_abandoned(unnumbered(target_));
    // Another process that saves this file at the same time has the numbers before.
    for (int number = 0; !file_ && number < 1000; ++number) {
        beside_ = unnumbered(target_) += std::to_string(number);
        file_ = unfinished_file::create(beside_, hold_);
    }
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
    good_ = good_ && unfinished_file::replace(beside_, target_);
    finish();
    return good_;
}

void saved_file::discard() {
    if (!file_) return;
    std::fclose(file_);
    file_ = nullptr;
    good_ = false;
    if (!beside_.empty()) finish();
}

void saved_file::finish() {
    std::error_code error;
    if (!good_) fs::remove(beside_, error);
    unfinished_file::let_go(hold_);
}

} // namespace libutils
