#pragma once
// The base of all surfaces of a model: a name, marked points and a work vector.

#include "libutils/refvector2.h"
#include "render/math/types.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace pmt3d {

// Numbers that lie `stride` apart, `count` of them.
struct parameter_view {
    const float* first = nullptr;
    std::uint64_t stride = 0;
    std::uint64_t count = 0;
};

// An array of a surface: `count` records of `stride` floats.
template <class Float>
struct basic_array_view {
    Float* data = nullptr;
    std::uint64_t count = 0;
    std::uint32_t stride = 0;
};
using array_view = basic_array_view<float>;
using const_array_view = basic_array_view<const float>;

// Identifies the contents of an array: equal revisions mean equal contents. Copies of the array keep it, so a
// mirror elsewhere can tell whether its own copy is still valid.
class revision_t {
public:
    revision_t() { change(); }
    void change();
    friend bool operator==(const revision_t&, const revision_t&) = default;

private:
    std::uint64_t value_;
};

// The base of the surfaces. Marks show points larger when the surface is drawn as points: each point has a
// size, 3.0 unmarked and 5.0 marked, and a bit that says the same.
class modeling_t {
public:
    static constexpr float unmarked_size = 3.0f, marked_size = 5.0f; // pixels

    // The surface's tables of numbers other than points (a NURBS surface has three); an empty view for an
    // index that it does not have.
    virtual std::uint32_t parameter_table_count() const { return 0; }
    virtual parameter_view parameter_table(std::uint32_t) const { return {}; }
    // 1: NURBS surface, 2: polygon surface.
    virtual std::uint32_t typecode() const = 0;
    // Array `index` of the surface, an empty view for one that it does not have. The second form counts as a
    // change of that array.
    virtual const_array_view getarray(std::uint32_t index) const = 0;
    virtual array_view getarray(std::uint32_t index) = 0;
    // The corners of the surface's bounding box.
    virtual void getbound(render::pos3& min, render::pos3& max) const = 0;
    // Back to the state after construction.
    virtual void clear();
    virtual ~modeling_t() = default;

    const std::string& name() const { return name_; }
    void set_name(std::string name) { name_ = std::move(name); }

    // True when the point was not marked before (or was, for unmarkvertex); false also for an index out of
    // range.
    bool markvertex(std::uint64_t index) { return set_mark(index, true); }
    bool unmarkvertex(std::uint64_t index) { return set_mark(index, false); }
    void clearmarks();
    bool marked(std::uint64_t index) const { return index < mark_bits_.size() && mark_bits_[index]; }
    std::span<const float> mark_sizes() const;
    const revision_t& marks_revision() const { return marks_revision_; }

    // Scratch space of 10 floats a point, for the caller's use.
    std::span<float> work() { return {work_.data(), work_.size()}; }

protected:
    modeling_t() = default;
    modeling_t(const modeling_t& other) { *this = other; }
    modeling_t& operator=(const modeling_t& other);

    // Resizes marks and work vector to that many points. Clears all marks, or keeps the old ones with `keep`.
    // False when there is no room; nothing changes then.
    bool size_points(std::uint64_t count, bool keep = false);

private:
    bool set_mark(std::uint64_t index, bool mark);

    std::string name_;
    std::vector<bool> mark_bits_;
    // The sizes for the bits; its pages stay untouched until they are asked for.
    mutable libutils::refvector2<float> marks_;
    mutable bool marks_written_ = false;
    libutils::refvector2<float> work_;
    revision_t marks_revision_;
};

} // namespace pmt3d
