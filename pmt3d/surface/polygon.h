#pragma once
// The polygon surface: vertices, a tangent frame for each, and an index list of triangle strips.

#include "libutils/refvector2.h"
#include "pmt3d/surface/modeling.h"
#include "pmt3d/surface/strips.h"
#include "pmt3d/surface/vertex.h"
#include "render/math/types.h"

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace pmt3d {

// Where a triangle stands in the index list.
struct polyid_t {
    static constexpr std::uint32_t none = 0xFFFFFFFF;
    std::uint32_t start = none; // position of its first index; `none` when there is no such triangle
    std::uint8_t odd = 0;       // 1: its first two indices are swapped
};

// A plain value: copies are deep. Calling an edit_ function counts as a change of its array; call it again
// for changes after the surface has been drawn or copied.
//
// Triangles are numbered in the order of the index list (polygon ids). Ids and selection are those of the
// last rebuildpolyids().
class polygon_t : public modeling_t {
public:
    // The arrays that are drawn.
    enum class array { vertices, normals, wknmls, elements, selectelems };

    polygon_t() = default;
    polygon_t(const polygon_t& other);
    polygon_t& operator=(const polygon_t& other);

    // Makes new arrays of zeros and clears marks and selection. False, after one line on
    // standard error, when there is no room for an array; the surface has then no vertices and no elements.
    bool allocate(std::uint64_t vertices, std::uint64_t elements);
    // Grows to these sizes, never shrinks: old contents are kept, zeros follow. A failure leaves the surface
    // as it was.
    bool extend(std::uint64_t vertices, std::uint64_t elements);

    // Numbers the triangles again, updates the selected elements, and gives flat frames to vertices that have
    // none: for each triangle whose third vertex has the normal (0, 0, 0), its face's normal, the
    // direction from its third vertex to its second as tangent, and their product, to those of its three
    // vertices whose normal was (0, 0, 0) before the call. The first form sets the name as well.
    void rebuildpolyids(std::string name);
    void rebuildpolyids();

    // Puts a triangle into the selection or takes it out. An id that is not below polyid_count() is reported
    // on standard error; one without a triangle is ignored.
    void selectpolygon(std::uint64_t id);
    void unselectpolygon(std::uint64_t id);
    const std::set<std::uint32_t>& selected() const { return selected_; }
    // As many as there could be triangles: the element count less 2.
    std::uint64_t polyid_count() const { return element_count_ < 3 ? 0 : element_count_ - 2; }
    polyid_t polyid(std::uint64_t id) const; // id below polyid_count()
    // Three vertex indices for every polygon id: its triangle when it is selected, else three strip ends.
    std::span<const element_t> selectelems() const;

    std::uint64_t vertex_count() const { return vertex_count_; }
    std::uint64_t element_count() const { return element_count_; }
    std::span<const vertex_t> vertices() const { return {vertices_.data(), vertex_count_}; }
    std::span<const frame_t> normals() const { return {normals_.data(), vertex_count_}; }
    std::span<const differences_t> wknmls() const { return {wknmls_.data(), vertex_count_}; }
    std::span<const element_t> getelements() const { return {elements_.data(), element_count_}; }
    std::span<vertex_t> edit_vertices();
    std::span<frame_t> edit_normals();
    std::span<differences_t> edit_wknmls();
    std::span<element_t> edit_elements();
    const revision_t& revision(array which) const { return revisions_[std::size_t(which)]; }
    // Scratch space of 9 floats a vertex.
    std::span<float> frame_work() { return {frame_work_.data(), frame_work_.size()}; }

    std::uint32_t typecode() const override { return 2; }
    // 0 vertices, 1 normals, 2 wknmls.
    const_array_view getarray(std::uint32_t index) const override;
    array_view getarray(std::uint32_t index) override;
    // Over the vertices that the elements name. Without any, min and max are left as they are.
    void getbound(render::pos3& min, render::pos3& max) const override;
    std::optional<render::box3> bounds() const; // nothing without any
    void clear() override;

private:
    void rebuild();
    bool lacks_frames() const;
    void number_triangles();
    void write_selection();
    void fill_frames();
    bool has_polyid(std::uint64_t id) const; // with the message for one out of range
    element_t* selection() const;            // selectelems_, with its first contents written
    void changed(array which) { revisions_[std::size_t(which)].change(); }
    void all_changed();

    std::uint64_t vertex_count_ = 0, element_count_ = 0;
    libutils::refvector2<vertex_t> vertices_;
    libutils::refvector2<frame_t> normals_;
    libutils::refvector2<differences_t> wknmls_;
    libutils::refvector2<element_t> elements_;
    libutils::refvector2<float> frame_work_;

    std::set<std::uint32_t> selected_;
    // The triangles' places, strip by strip: ids from `id` on begin at `start` and the positions after it.
    struct strip_t {
        std::uint32_t id, start;
    };
    std::vector<strip_t> polyidvector_;
    std::uint64_t triangle_count_ = 0; // the ids from here on have no triangle
    bool elements_edited_ = false;     // since allocate()
    // Its pages stay untouched until something is selected or all of it is asked for.
    mutable libutils::refvector2<element_t> selectelems_;
    mutable bool selection_written_ = false;

    std::array<revision_t, 5> revisions_;
};

} // namespace pmt3d
