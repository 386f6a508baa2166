#include "pmt3d/surface/modeling.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace pmt3d {

static constexpr std::uint64_t work_floats = 10;

void revision_t::change() {
    static std::atomic<std::uint64_t> last = 0;
    value_ = ++last;
}

modeling_t& modeling_t::operator=(const modeling_t& other) {
    if (this == &other) return *this;
    modeling_t::clear();
    name_ = other.name_;
    if (size_points(other.mark_bits_.size())) {
        mark_bits_ = other.mark_bits_;
        marks_revision_ = other.marks_revision_;
    }
    return *this;
}

void modeling_t::clear() {
    name_.clear();
    marks_.release();
    mark_bits_.clear();
    work_.release();
    marks_revision_.change();
}

bool modeling_t::size_points(std::uint64_t count, bool keep) {
    if (count > UINT64_MAX / work_floats || !marks_.allocate(count, nullptr, 1, 0, true)) return false;
    marks_written_ = false;
    if (!keep) mark_bits_.clear();
    mark_bits_.resize(count);
    marks_revision_.change();
    return work_.allocate(count * work_floats, nullptr, 1, 0, keep);
}

void modeling_t::clearmarks() {
    mark_bits_.assign(mark_bits_.size(), false);
    marks_written_ = false;
    marks_revision_.change();
}

static float size_of(bool mark) {
    return mark ? modeling_t::marked_size : modeling_t::unmarked_size;
}

std::span<const float> modeling_t::mark_sizes() const {
    if (!marks_written_) std::transform(mark_bits_.begin(), mark_bits_.end(), marks_.begin(), size_of);
    marks_written_ = true;
    return {std::as_const(marks_).data(), marks_.size()};
}

bool modeling_t::set_mark(std::uint64_t index, bool mark) {
    if (index >= mark_bits_.size() || mark_bits_[index] == mark) return false;
    mark_bits_[index] = mark;
    const float size = size_of(mark);
    if (marks_written_) marks_[index] = size;
    marks_revision_.change();
    return true;
}

} // namespace pmt3d
