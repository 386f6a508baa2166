#include "pmt3d/surface/polygon.h"

#include "libutils/parallel.h"
#include "libutils/report.h"
#include "libutils/step.h"
#include "render/math/operations.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>
#include <vector>

namespace pmt3d {

using libutils::report;
using libutils::step;

static constexpr std::uint64_t frame_work_floats = 9;
static constexpr std::uint64_t most_elements = 0xFFFFFFFF; // positions in the list are 32 bits wide

// Three for every polygon id; also what 3 n - 6 would give from 2 elements on.
static std::uint64_t selected_elements(std::uint64_t elements) {
    return elements < 3 ? 0 : 3 * elements - 6;
}

polygon_t::polygon_t(const polygon_t& other) : modeling_t() {
    *this = other;
}

polygon_t& polygon_t::operator=(const polygon_t& other) {
    if (this == &other) return *this;
    if (!allocate(other.vertex_count_, other.element_count_)) return *this;
    modeling_t::operator=(other);
    std::copy(other.vertices().begin(), other.vertices().end(), vertices_.begin());
    std::copy(other.normals().begin(), other.normals().end(), normals_.begin());
    std::copy(other.wknmls().begin(), other.wknmls().end(), wknmls_.begin());
    std::copy(other.getelements().begin(), other.getelements().end(), elements_.begin());
    selected_ = other.selected_;
    polyidvector_ = other.polyidvector_;
    triangle_count_ = other.triangle_count_;
    elements_edited_ = other.elements_edited_;
    revisions_ = other.revisions_;
    if (other.selection_written_) {
        std::copy(other.selectelems_.begin(), other.selectelems_.end(), selectelems_.begin());
        selection_written_ = true;
    }
    return *this;
}

void polygon_t::clear() {
    vertex_count_ = element_count_ = 0;
    vertices_.release();
    normals_.release();
    wknmls_.release();
    elements_.release();
    frame_work_.release();
    selected_.clear();
    polyidvector_.clear();
    triangle_count_ = 0;
    elements_edited_ = false;
    selectelems_.release();
    selection_written_ = false;
    all_changed();
    modeling_t::clear();
}

bool polygon_t::allocate(std::uint64_t vertices, std::uint64_t elements) {
    vertex_count_ = element_count_ = 0;
    selected_.clear();
    polyidvector_.clear();
    triangle_count_ = 0;
    selection_written_ = false;
    step("polygon_t::allocate(0)");
    if (!vertices_.allocate(vertices)) return report("vertices.allocate() failed.");
    step("polygon_t::allocate(1)");
    if (!normals_.allocate(vertices)) return report("normals.allocate() failed.");
    step("polygon_t::allocate(2)");
    if (!wknmls_.allocate(vertices)) return report("wknmls.allocate() failed.");
    step("polygon_t::allocate(3)");
    if (elements > most_elements || !elements_.allocate(elements))
        return report("elements.allocate() failed.");
    step("polygon_t::allocate(4)");
    if (!size_points(vertices)) return report("marks.allocate() failed.");
    step("polygon_t::allocate(5)");
    all_changed();
    if (!frame_work_.allocate(vertices * frame_work_floats)) return report("work.allocate() failed.");
    step("polygon_t::allocate(6)");
    if (!selectelems_.allocate(selected_elements(elements))) return report("selectelems.allocate() failed.");
    step("polygon_t::allocate(7)");
    vertex_count_ = vertices;
    element_count_ = elements;
    // All elements are 0 now: one strip without an area, of which no frames come.
    elements_edited_ = false;
    if (vertices > 0 && polyid_count() > 0) {
        polyidvector_ = {{0, 0}};
        triangle_count_ = polyid_count();
    }
    step("polygon_t::allocate(end)");
    return true;
}

bool polygon_t::extend(std::uint64_t vertices, std::uint64_t elements) {
    const auto grow = [](auto& storage, std::uint64_t count) {
        return storage.allocate(count, nullptr, 1, 0, true);
    };
    step("polygon_t::extend(start)");
    vertices = std::max(vertices, vertex_count_);
    elements = std::max(elements, element_count_);
    selection();
    if (!grow(vertices_, vertices)) return report("vertices.extend() failed.");
    if (!grow(normals_, vertices)) return report("normals.extend() failed.");
    if (!grow(wknmls_, vertices)) return report("wknmls.extend() failed.");
    step("polygon_t::extend(3)");
    if (elements > most_elements || !grow(elements_, elements)) return report("elements.allocate() failed.");
    step("polygon_t::extend(4)");
    if (!size_points(vertices, true)) return report("marks.extend() failed.");
    step("polygon_t::extend(5)");
    all_changed();
    if (!grow(frame_work_, vertices * frame_work_floats)) return report("work.extend() failed.");
    if (!grow(selectelems_, selected_elements(elements))) return report("selectelems.allocate() failed.");
    vertex_count_ = vertices;
    element_count_ = elements;
    elements_edited_ = true; // they need no longer be all zeros
    rebuild();
    step("polygon_t::extend(end)");
    return true;
}

// ---- Polygon ids, frames and the selection

void polygon_t::rebuildpolyids(std::string name) {
    set_name(std::move(name));
    rebuildpolyids();
}

void polygon_t::rebuildpolyids() {
    if (elements_edited_) rebuild();
}

namespace {

// Gives flat frames to vertices without one.
class frame_filler {
public:
    frame_filler(std::span<const vertex_t> vertices, std::span<frame_t> frames)
        : vertices_(vertices),
          frames_(frames) {}

    static bool missing(const frame_t& frame) { return frame.normal == render::dir3{0.0f, 0.0f, 0.0f}; }

    bool any() const { return !fillable_.empty(); }

    void fill(element_t a, element_t b, element_t c) {
        if (fillable_.empty()) {
            // Nothing has been written yet, so this is how the frames were at the start.
            fillable_.resize(frames_.size());
            for (std::size_t i = 0; i < frames_.size(); ++i)
                fillable_[i] = missing(frames_[i]);
        }
        const render::pos3 &pa = vertices_[a].position, &pb = vertices_[b].position,
                           &pc = vertices_[c].position;
        frame_t flat;
        flat.normal = render::unit_triangle_normal(pa, pb, pc);
        flat.tangent = render::normalise(pb - pc);
        flat.binormal = render::cross(flat.normal, flat.tangent);
        for (const element_t vertex : {c, a, b})
            if (fillable_[vertex]) frames_[vertex] = flat;
    }

private:
    std::span<const vertex_t> vertices_;
    std::span<frame_t> frames_;
    std::vector<unsigned char> fillable_; // not bits: they are read three times for each triangle
};

} // namespace

void polygon_t::rebuild() {
    if (polyid_count() == 0) return;
    number_triangles();
    if (!selected_.empty() || selection_written_) write_selection();
    if (lacks_frames()) fill_frames();
}

bool polygon_t::lacks_frames() const {
    const auto frames = normals();
    const auto how = libutils::sharing_for(frames.size_bytes());
    const std::uint64_t each =
        how.threads > 1 ? std::max<std::uint64_t>(how.piece / sizeof(frame_t), 1) : frames.size();
    std::atomic<bool> found = false;
    if (frames.empty()) return false;
    libutils::for_each_piece(
        how.threads, (frames.size() + each - 1) / each, [&](std::uint64_t piece, unsigned) {
            if (found.load(std::memory_order_relaxed)) return;
            const auto part = frames.subspan(piece * each, std::min(each, frames.size() - piece * each));
            if (std::any_of(part.begin(), part.end(), frame_filler::missing)) found = true;
        });
    return found;
}

void polygon_t::number_triangles() {
    struct piece {
        std::uint64_t begin, end; // a strip belongs to the piece in which it begins
        std::uint64_t triangles = 0;
        std::vector<strip_t> strips; // ids from 0
    };
    const element_t* const elements = elements_.data();
    const auto how = libutils::sharing_for(element_count_ * sizeof(element_t));
    const std::uint64_t each = how.threads > 1 ? how.piece / sizeof(element_t) : element_count_;
    std::vector<piece> pieces;
    for (std::uint64_t begin = 0; begin < element_count_;) {
        std::uint64_t end = std::min(begin + each, element_count_);
        while (end < element_count_ && elements[end] < vertex_count_)
            ++end;
        pieces.push_back({begin, end, 0, {}});
        begin = end;
    }
    libutils::for_each_piece(how.threads, pieces.size(), [&](std::uint64_t number, unsigned) {
        const std::uint64_t end = pieces[number].end, vertices = vertex_count_;
        std::uint64_t id = 0;
        std::vector<strip_t> strips;
        // There cannot be more strips, and what is not touched costs nothing.
        strips.reserve((end - pieces[number].begin + 1) / 4 + 1);
        for (std::uint64_t at = pieces[number].begin; at < end; ++at) {
            const std::uint64_t start = at;
            while (at < end && elements[at] < vertices)
                ++at;
            if (at - start < 3) continue;
            strips.push_back({std::uint32_t(id), std::uint32_t(start)});
            id += at - start - 2;
        }
        pieces[number].triangles = id;
        pieces[number].strips = std::move(strips);
    });
    polyidvector_.clear();
    triangle_count_ = 0;
    for (piece& p : pieces) {
        if (polyidvector_.empty())
            polyidvector_.swap(p.strips); // of one piece, the usual case, they are all
        else
            for (const strip_t& strip : p.strips)
                polyidvector_.push_back({std::uint32_t(triangle_count_) + strip.id, strip.start});
        triangle_count_ += p.triangles;
    }
}

void polygon_t::write_selection() {
    element_t* out = selection();
    std::uint64_t id = 0;
    for_each_triangle(getelements(), vertex_count_,
                      [&](std::uint64_t, bool, element_t a, element_t b, element_t c) {
                          const bool is_selected = selected_.contains(std::uint32_t(id++));
                          for (const element_t index : {a, b, c})
                              *out++ = is_selected ? index : strip_end;
                      });
    std::fill(out, selectelems_.end(), strip_end);
    changed(array::selectelems);
}

void polygon_t::fill_frames() {
    frame_t* const frames = normals_.data();
    frame_filler filler(vertices(), {frames, vertex_count_});
    for_each_triangle(getelements(), vertex_count_,
                      [&](std::uint64_t, bool, element_t a, element_t b, element_t c) {
                          if (frame_filler::missing(frames[c])) filler.fill(a, b, c);
                      });
    if (filler.any()) changed(array::normals);
}

polyid_t polygon_t::polyid(std::uint64_t id) const {
    if (id >= triangle_count_) return {};
    const strip_t& strip =
        *std::prev(std::upper_bound(polyidvector_.begin(), polyidvector_.end(), id,
                                    [](std::uint64_t i, const strip_t& s) { return i < s.id; }));
    const auto inside = std::uint32_t(id) - strip.id;
    return {strip.start + inside, std::uint8_t(inside % 2)};
}

element_t* polygon_t::selection() const {
    if (!selection_written_) std::fill(selectelems_.begin(), selectelems_.end(), strip_end);
    selection_written_ = true;
    return selectelems_.data();
}

std::span<const element_t> polygon_t::selectelems() const {
    return {selection(), selectelems_.size()};
}

bool polygon_t::has_polyid(std::uint64_t id) const {
    if (id < polyid_count()) return polyid(id).start != polyid_t::none;
    return report("polygon_t::selectpolygon() polyid(", id, ") >= polyidvector.size(", polyid_count(), ")");
}

void polygon_t::selectpolygon(std::uint64_t id) {
    if (!has_polyid(id)) return;
    const auto [start, odd] = polyid(id);
    element_t* const out = selection() + 3 * id;
    out[0] = elements_[start + odd];
    out[1] = elements_[start + 1 - odd];
    out[2] = elements_[start + 2];
    selected_.insert(std::uint32_t(id));
    changed(array::selectelems);
}

void polygon_t::unselectpolygon(std::uint64_t id) {
    if (!has_polyid(id)) return;
    std::fill_n(selection() + 3 * id, 3, strip_end);
    selected_.erase(std::uint32_t(id));
    changed(array::selectelems);
}

std::optional<render::box3> polygon_t::bounds() const {
    std::optional<render::box3> box;
    for (const element_t index : getelements())
        if (index < vertex_count_) render::enclose(box, vertices_[index].position);
    return box;
}

void polygon_t::getbound(render::pos3& min, render::pos3& max) const {
    if (const auto box = bounds()) {
        min = box->min;
        max = box->max;
    }
}

// ---- The arrays

void polygon_t::all_changed() {
    for (revision_t& revision : revisions_)
        revision.change();
}

std::span<vertex_t> polygon_t::edit_vertices() {
    changed(array::vertices);
    return {vertices_.data(), vertex_count_};
}

std::span<frame_t> polygon_t::edit_normals() {
    changed(array::normals);
    return {normals_.data(), vertex_count_};
}

std::span<differences_t> polygon_t::edit_wknmls() {
    changed(array::wknmls);
    return {wknmls_.data(), vertex_count_};
}

std::span<element_t> polygon_t::edit_elements() {
    changed(array::elements);
    elements_edited_ = true;
    return {elements_.data(), element_count_};
}

template <class Record>
static const_array_view floats_of(std::span<const Record> records) {
    return {reinterpret_cast<const float*>(records.data()), records.size(), sizeof(Record) / sizeof(float)};
}

const_array_view polygon_t::getarray(std::uint32_t index) const {
    switch (index) {
    case 0:
        return floats_of(vertices());
    case 1:
        return floats_of(normals());
    case 2:
        return floats_of(wknmls());
    default:
        return {};
    }
}

array_view polygon_t::getarray(std::uint32_t index) {
    const const_array_view view = std::as_const(*this).getarray(index);
    constexpr array arrays[] = {array::vertices, array::normals, array::wknmls};
    if (index < std::size(arrays)) changed(arrays[index]);
    return {const_cast<float*>(view.data), view.count, view.stride};
}

} // namespace pmt3d
