#include "pmt3d/surface/polygon.h"

#include "libutils/error_report.h"
#include "render/gl/element_array.h"
#include "render/gl/step_check.h"
#include "render/gl/vertex_array.h"
#include "render/math/operations.h"
#include "render/surface/feedback_buffer.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <iterator>
#include <utility>
#include <vector>

namespace pmt3d {

using render::step_check;

static constexpr std::uint64_t frame_work_floats = 9;
static constexpr std::uint64_t most_elements = 0xFFFFFFFF; // positions in the list are 32 bits wide

static bool fail(const char* message) {
    libutils::error_report();
    std::cerr << message << '\n';
    return false;
}

// Three for every polygon id; also what 3 n - 6 would give from 2 elements on.
static std::uint64_t selected_elements(std::uint64_t elements) {
    return elements < 3 ? 0 : 3 * elements - 6;
}

polygon_t::polygon_t() = default;
polygon_t::~polygon_t() = default;

polygon_t::polygon_t(const polygon_t& other) : modeling_t(), render::drawable() {
    *this = other;
}

polygon_t& polygon_t::operator=(const polygon_t& other) {
    if (this == &other) return *this;
    // The arrays, the marks and the GL's copies, which are not shared but made anew when this one is drawn.
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
    forget_mirror();
    modeling_t::clear();
}

bool polygon_t::allocate(std::uint64_t vertices, std::uint64_t elements) {
    vertex_count_ = element_count_ = 0;
    selected_.clear();
    polyidvector_.clear();
    triangle_count_ = 0;
    selection_written_ = false;
    step_check("polygon_t::allocate(0)");
    if (!vertices_.allocate(vertices)) return fail("vertices.allocate() failed.");
    step_check("polygon_t::allocate(1)");
    if (!normals_.allocate(vertices)) return fail("normals.allocate() failed.");
    step_check("polygon_t::allocate(2)");
    if (!wknmls_.allocate(vertices)) return fail("wknmls.allocate() failed.");
    step_check("polygon_t::allocate(3)");
    if (elements > most_elements || !elements_.allocate(elements)) return fail("elements.allocate() failed.");
    step_check("polygon_t::allocate(4)");
    if (!size_points(vertices)) return fail("marks.allocate() failed.");
    step_check("polygon_t::allocate(5)");
    forget_mirror(); // the layouts with it
    if (!frame_work_.allocate(vertices * frame_work_floats)) return fail("work.allocate() failed.");
    step_check("polygon_t::allocate(6)");
    if (!selectelems_.allocate(selected_elements(elements))) return fail("selectelems.allocate() failed.");
    step_check("polygon_t::allocate(7)");
    vertex_count_ = vertices;
    element_count_ = elements;
    // All elements are 0 now: one strip without an area, of which no frames come.
    elements_edited_ = false;
    if (vertices > 0 && polyid_count() > 0) {
        polyidvector_ = {{0, 0}};
        triangle_count_ = polyid_count();
    }
    step_check("polygon_t::allocate(end)");
    return true;
}

bool polygon_t::extend(std::uint64_t vertices, std::uint64_t elements) {
    const auto grow = [](auto& storage, std::uint64_t count) {
        return storage.allocate(count, nullptr, 1, 0, true);
    };
    step_check("polygon_t::extend(start)");
    vertices = std::max(vertices, vertex_count_);
    elements = std::max(elements, element_count_);
    selection();
    if (!grow(vertices_, vertices)) return fail("vertices.extend() failed.");
    if (!grow(normals_, vertices)) return fail("normals.extend() failed.");
    if (!grow(wknmls_, vertices)) return fail("wknmls.extend() failed.");
    step_check("polygon_t::extend(3)");
    if (elements > most_elements || !grow(elements_, elements)) return fail("elements.allocate() failed.");
    step_check("polygon_t::extend(4)");
    if (!size_points(vertices, true)) return fail("marks.extend() failed.");
    step_check("polygon_t::extend(5)");
    forget_mirror();
    if (!grow(frame_work_, vertices * frame_work_floats)) return fail("work.extend() failed.");
    const std::uint64_t before = selectelems_.size();
    if (!grow(selectelems_, selected_elements(elements))) return fail("selectelems.allocate() failed.");
    std::fill(selectelems_.begin() + std::min(before, selectelems_.size()), selectelems_.end(), strip_end);
    vertex_count_ = vertices;
    element_count_ = elements;
    elements_edited_ = true; // they need no longer be all zeros
    rebuild();
    step_check("polygon_t::extend(end)");
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
    const auto frames = std::as_const(*this).normals();
    if (std::any_of(frames.begin(), frames.end(), frame_filler::missing)) fill_frames();
}

void polygon_t::number_triangles() {
    const element_t* const elements = elements_.data();
    std::uint64_t id = 0;
    polyidvector_.clear();
    // There cannot be more strips, and what is not touched costs nothing.
    polyidvector_.reserve((element_count_ + 1) / 4);
    for (std::uint64_t at = 0; at < element_count_; ++at) {
        const std::uint64_t start = at;
        while (at < element_count_ && elements[at] < vertex_count_)
            ++at;
        if (at - start < 3) continue;
        polyidvector_.push_back({std::uint32_t(id), std::uint32_t(start)});
        id += at - start - 2;
    }
    triangle_count_ = id;
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
    changed_ |= selection_array;
}

void polygon_t::fill_frames() {
    frame_t* const frames = normals_.data();
    frame_filler filler(vertices(), {frames, vertex_count_});
    for_each_triangle(getelements(), vertex_count_,
                      [&](std::uint64_t, bool, element_t a, element_t b, element_t c) {
                          if (frame_filler::missing(frames[c])) filler.fill(a, b, c);
                      });
    if (filler.any()) changed_ |= frame_arrays;
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
    libutils::error_report();
    std::cerr << "polygon_t::selectpolygon() polyid(" << id << ") >= polyidvector.size(" << polyid_count()
              << ")\n";
    return false;
}

void polygon_t::selectpolygon(std::uint64_t id) {
    if (!has_polyid(id)) return;
    const auto [start, odd] = polyid(id);
    element_t* const out = selection() + 3 * id;
    out[0] = elements_[start + odd];
    out[1] = elements_[start + 1 - odd];
    out[2] = elements_[start + 2];
    selected_.insert(std::uint32_t(id));
    changed_ |= selection_array;
}

void polygon_t::unselectpolygon(std::uint64_t id) {
    if (!has_polyid(id)) return;
    std::fill_n(selection() + 3 * id, 3, strip_end);
    selected_.erase(std::uint32_t(id));
    changed_ |= selection_array;
}

void polygon_t::getbound(render::pos3& min, render::pos3& max) const {
    bool first = true;
    for (const element_t index : getelements()) {
        if (index >= vertex_count_) continue;
        const render::pos3& p = vertices_[index].position;
        if (first) min = max = p;
        first = false;
        min = {std::min(min.x, p.x), std::min(min.y, p.y), std::min(min.z, p.z)};
        max = {std::max(max.x, p.x), std::max(max.y, p.y), std::max(max.z, p.z)};
    }
}

// ---- The arrays

std::span<vertex_t> polygon_t::edit_vertices() {
    changed_ |= vertex_array;
    return {vertices_.data(), vertex_count_};
}

std::span<frame_t> polygon_t::edit_normals() {
    changed_ |= frame_arrays;
    return {normals_.data(), vertex_count_};
}

std::span<differences_t> polygon_t::edit_wknmls() {
    changed_ |= work_array;
    return {wknmls_.data(), vertex_count_};
}

std::span<element_t> polygon_t::edit_elements() {
    changed_ |= index_array;
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
    constexpr array arrays[] = {vertex_array, frame_arrays, work_array};
    if (index < std::size(arrays)) changed_ |= arrays[index];
    return {const_cast<float*>(view.data), view.count, view.stride};
}

// ---- The GL's copies

struct polygon_t::mirror_t {
    render::array_buffer_t vertices, frames, work;
    render::element_array_t elements, selectelems;
    // Surface: vertices at attribute locations 0-2, frames at 3-5. Feedback: vertices and the work array at
    // 3-6. Points: vertices, of which the mark sizes take location 2 over.
    render::vertex_array_t surface, feedback, points;
    render::feedbackbuffer captured;
};

void polygon_t::forget_mirror() {
    mirror_.reset();
    changed_ = all;
}

template <class Record>
static void upload(render::array_buffer_t& to, const render::layout_ref& layout,
                   std::span<const Record> records) {
    if (to.allocate(records.size(), layout) && !records.empty())
        to.upload_range(0, records.size(), records.data());
}

// The GL would read a vertex for every index but the restart index, so the others that end a strip become
// that.
static void upload(render::element_array_t& to, std::span<const element_t> indices,
                   std::uint64_t vertex_count) {
    to.allocate(indices.size());
    const auto ends_strip = [&](element_t index) { return index >= vertex_count; };
    const bool clean = std::all_of(indices.begin(), indices.end(),
                                   [&](element_t index) { return !ends_strip(index) || index == strip_end; });
    if (clean) {
        to.upload(indices);
        return;
    }
    std::vector<element_t> cleaned(indices.begin(), indices.end());
    std::replace_if(cleaned.begin(), cleaned.end(), ends_strip, strip_end);
    to.upload(cleaned);
}

polygon_t::mirror_t& polygon_t::refresh(unsigned needed) {
    using enum render::attribute;
    static const render::layout_ref vertex_layout = render::make_layout({position, rgba, texcoord2});
    static const render::layout_ref frame_layout = render::make_layout({normal, normal, normal});
    static const render::layout_ref work_layout = render::make_layout({normal, normal, normal, normal});
    if (!mirror_) mirror_ = std::make_unique<mirror_t>();
    const unsigned stale = needed & changed_;
    if (stale & vertex_array) upload(mirror_->vertices, vertex_layout, vertices());
    if (stale & frame_arrays) upload(mirror_->frames, frame_layout, std::as_const(*this).normals());
    if (stale & work_array) upload(mirror_->work, work_layout, wknmls());
    if (stale & index_array) upload(mirror_->elements, getelements(), vertex_count_);
    if (stale & selection_array) upload(mirror_->selectelems, selectelems(), vertex_count_);
    changed_ &= ~stale;
    return *mirror_;
}

// Attaches the arrays to a layout once; they keep their GL names when they are refreshed.
static void make_layout(render::vertex_array_t& layout, const render::array_buffer_t& vertices,
                        const render::array_buffer_t& others, std::uint32_t location) {
    if (layout.id() != render::no_object) return;
    layout.create();
    vertices.bind_layout_to(layout, 0);
    others.bind_layout_to(layout, location);
}

void polygon_t::draw_points() {
    if (!render::has_context()) return;
    mirror_t& m = refresh(vertex_array);
    make_layout(m.points, m.vertices, mark_array(), 2);
    m.points.draw_arrays(render::primitive::points, vertex_count_);
}

void polygon_t::draw_indices(bool selected_only) {
    if (!render::has_context() || element_count_ == 0) return;
    mirror_t& m = refresh(vertex_array | frame_arrays | (selected_only ? selection_array : index_array));
    make_layout(m.surface, m.vertices, m.frames, 3);
    step_check("polygon_t::draw(0)");
    glPrimitiveRestartIndex(strip_end);
    step_check("polygon_t::draw(1)");
    glEnable(GL_PRIMITIVE_RESTART);
    step_check("polygon_t::draw(2)");
    if (selected_only)
        m.selectelems.draw(m.surface, render::primitive::triangles);
    else
        m.elements.draw(m.surface, render::primitive::triangle_strip);
    step_check("polygon_t::draw(3)");
    glDisable(GL_PRIMITIVE_RESTART);
    step_check("polygon_t::draw(end)");
}

void polygon_t::draw() {
    draw_indices(false);
}

void polygon_t::draw_selection() {
    draw_indices(true);
}

std::uint64_t polygon_t::draw_surface_points() {
    if (render::has_context()) {
        mirror_t& m = refresh(vertex_array | frame_arrays);
        make_layout(m.surface, m.vertices, m.frames, 3);
        m.surface.draw_arrays(render::primitive::points, vertex_count_);
    }
    return vertex_count_;
}

void polygon_t::draw_feedback_points() {
    if (!render::has_context()) return;
    mirror_t& m = refresh(vertex_array | work_array);
    make_layout(m.feedback, m.vertices, m.work, 3);
    m.feedback.draw_arrays(render::primitive::points, vertex_count_);
}

render::feedbackbuffer& polygon_t::feedback_buffer() {
    mirror_t& m = refresh(0);
    if (m.captured.floats() != vertex_count_ * render::frame_floats)
        m.captured.allocate(vertex_count_ * render::frame_floats);
    return m.captured;
}

render::array_buffer_t& polygon_t::frame_array() {
    return refresh(frame_arrays).frames;
}

void polygon_t::fetch_frames() {
    if (!render::has_context() || vertex_count_ == 0) return;
    render::array_buffer_t& frames = frame_array();
    if (const float* computed = frames.map()) {
        std::memcpy(normals_.data(), computed, vertex_count_ * sizeof(frame_t));
        frames.unmap();
    }
}

} // namespace pmt3d
