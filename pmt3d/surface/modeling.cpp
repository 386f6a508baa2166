#include "pmt3d/surface/modeling.h"

#include <algorithm>

namespace pmt3d {

static constexpr std::uint64_t work_floats = 10;

modeling_t& modeling_t::operator=(const modeling_t& other) {
    if (this == &other) return *this;
    modeling_t::clear();
    name_ = other.name_;
    if (size_points(other.marks_.size())) {
        std::copy(other.marks_.begin(), other.marks_.end(), marks_.begin());
        mark_bits_ = other.mark_bits_;
    }
    return *this;
}

void modeling_t::clear() {
    name_.clear();
    marks_.release();
    mark_bits_.clear();
    work_.release();
    mark_array_.release();
    marks_changed_ = true;
}

bool modeling_t::size_points(std::uint64_t count, bool keep) {
    const std::uint64_t before = keep ? marks_.size() : 0;
    if (count > UINT64_MAX / work_floats || !marks_.allocate(count, nullptr, 1, 0, true)) return false;
    std::fill(marks_.begin() + std::min(before, count), marks_.end(), unmarked_size);
    if (!keep) mark_bits_.clear();
    mark_bits_.resize(count);
    marks_changed_ = true;
    return work_.allocate(count * work_floats, nullptr, 1, 0, keep);
}

void modeling_t::clearmarks() {
    std::fill(marks_.begin(), marks_.end(), unmarked_size);
    mark_bits_.assign(mark_bits_.size(), false);
    marks_changed_ = true;
}

bool modeling_t::set_mark(std::uint64_t index, bool mark) {
    if (index >= mark_bits_.size() || mark_bits_[index] == mark) return false;
    mark_bits_[index] = mark;
    marks_[index] = mark ? marked_size : unmarked_size;
    // One value is sent at once; before the first draw there is nothing to send it to.
    if (!marks_changed_) mark_array_.upload_one(index, &marks_[index]);
    return true;
}

render::array_buffer_t& modeling_t::mark_array() {
    if (marks_changed_) {
        static const render::layout_ref layout = render::make_layout({render::attribute::point_size});
        if (mark_array_.allocate(marks_.size(), layout) && !marks_.empty())
            mark_array_.upload_range(0, marks_.size(), marks_.data());
        marks_changed_ = false;
    }
    return mark_array_;
}

} // namespace pmt3d
