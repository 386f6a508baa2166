#include "pmt3d/format/line_reader.h"

#include "libutils/file_path.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace pmt3d {

bool line_reader::open(const std::string& name) {
    name_ = name;
    set_text({});
    at_ = number_ = 0;
    line_ = {};
    if (file_.try_allocate(0, name.c_str())) {
        set_text({file_.data(), file_.size()});
        return true;
    }
    // Nothing can be mapped of an empty file.
    std::error_code error;
    const std::filesystem::path path = libutils::file_path(name);
    return std::filesystem::is_regular_file(path, error) && std::filesystem::file_size(path, error) == 0 &&
           !error;
}

void line_reader::set_text(std::string_view text) {
    text_ = text;
    last_end_ = text.rfind('\n') + 1;
}

bool line_reader::next() {
    if (at_ >= text_.size()) {
        check_whole();
        return false;
    }
    const char* const begin = text_.data() + at_;
    const std::size_t left = text_.size() - at_;
    if (const void* end = std::memchr(begin, '\n', left)) {
        line_ = {begin, std::size_t(static_cast<const char*>(end) - begin)};
        at_ += line_.size() + 1;
    } else {
        check_whole(); // what has been cut off has no line ends
        last_.assign(begin, left);
        line_ = last_;
        at_ = text_.size();
    }
    ++number_;
    passed(at_);
    return true;
}

void line_reader::check_whole() const {
    if (!file_.is_whole()) throw file_cut_short(name_ + ": file was cut short while it was read.");
}

void line_reader::skip(std::uint64_t bytes) {
    const std::string_view skipped = text_.substr(at_, bytes);
    number_ += std::uint64_t(std::count(skipped.begin(), skipped.end(), '\n'));
    at_ += skipped.size();
}

void line_reader::set_progress(progress_t progress) {
    progress_ = std::move(progress);
    next_report_ = progress_ ? 0 : UINT64_MAX;
}

void line_reader::report_progress(std::uint64_t position) {
    constexpr std::uint64_t step = 1 << 20;
    progress_(position, text_.size());
    next_report_ = position + step;
}

} // namespace pmt3d
