#include "pmt3d/mirror/polygon_mirror.h"

#include "render/gl/array_buffer.h"
#include "render/gl/element_array.h"
#include "render/gl/step_check.h"
#include "render/gl/vertex_array.h"
#include "render/surface/feedback_buffer.h"
#include "render/surface/glpolygon.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace pmt3d {

using render::step_check;
using array = polygon_t::array;

struct polygon_mirror::copies_t {
    std::uint64_t vertex_count, element_count; // of the surface that they were made for
    render::array_buffer_t vertices, frames, work, marks;
    render::element_array_t elements, selectelems;
    // Surface: vertices at attribute locations 0-2, frames at 3-5. Feedback: vertices and the work array at
    // 3-6. Points: vertices, of which the mark sizes take location 2 over.
    render::vertex_array_t surface, feedback, points;
    render::feedbackbuffer captured;
    std::array<std::optional<revision_t>, 5> seen; // of each of the surface's arrays
    std::optional<revision_t> seen_marks;
};

polygon_mirror::polygon_mirror(polygon_t& surface) : surface_(surface) {}
polygon_mirror::~polygon_mirror() = default;

void polygon_mirror::release() {
    copies_.reset();
}

polygon_mirror::copies_t& polygon_mirror::copies() {
    const std::uint64_t vertices = surface_.vertex_count(), elements = surface_.element_count();
    if (!copies_ || copies_->vertex_count != vertices || copies_->element_count != elements) {
        copies_ = std::make_unique<copies_t>();
        copies_->vertex_count = vertices;
        copies_->element_count = elements;
    }
    return *copies_;
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

polygon_mirror::copies_t& polygon_mirror::refresh(std::initializer_list<array> needed) {
    using enum render::attribute;
    static const render::layout_ref vertex_layout = render::make_layout({position, rgba, texcoord2});
    static const render::layout_ref frame_layout = render::make_layout({normal, normal, normal});
    static const render::layout_ref work_layout = render::make_layout({normal, normal, normal, normal});
    copies_t& to = copies();
    const polygon_t& from = surface_;
    for (const array which : needed) {
        std::optional<revision_t>& seen = to.seen[std::size_t(which)];
        if (seen == from.revision(which)) continue;
        seen = from.revision(which);
        switch (which) {
        case array::vertices:
            upload(to.vertices, vertex_layout, from.vertices());
            break;
        case array::normals:
            upload(to.frames, frame_layout, from.normals());
            break;
        case array::wknmls:
            upload(to.work, work_layout, from.wknmls());
            break;
        case array::elements:
            upload(to.elements, from.getelements(), from.vertex_count());
            break;
        case array::selectelems:
            upload(to.selectelems, from.selectelems(), from.vertex_count());
            break;
        }
    }
    return to;
}

// Attaches the arrays to a layout once; they keep their GL names when they are refreshed.
static void make_layout(render::vertex_array_t& layout, const render::array_buffer_t& vertices,
                        const render::array_buffer_t& others, std::uint32_t location) {
    if (layout.id() != render::no_object) return;
    layout.create();
    vertices.bind_layout_to(layout, 0);
    others.bind_layout_to(layout, location);
}

void polygon_mirror::draw_points() {
    if (!render::has_context()) return;
    copies_t& c = refresh({array::vertices});
    if (c.seen_marks != surface_.marks_revision()) {
        static const render::layout_ref layout = render::make_layout({render::attribute::point_size});
        upload(c.marks, layout, surface_.mark_sizes());
        c.seen_marks = surface_.marks_revision();
    }
    make_layout(c.points, c.vertices, c.marks, 2);
    c.points.draw_arrays(render::primitive::points, surface_.vertex_count());
}

void polygon_mirror::draw_indices(bool selected_only) {
    if (!render::has_context() || surface_.element_count() == 0) return;
    copies_t& c =
        refresh({array::vertices, array::normals, selected_only ? array::selectelems : array::elements});
    make_layout(c.surface, c.vertices, c.frames, 3);
    step_check("polygon_t::draw(0)");
    glPrimitiveRestartIndex(strip_end);
    step_check("polygon_t::draw(1)");
    glEnable(GL_PRIMITIVE_RESTART);
    step_check("polygon_t::draw(2)");
    if (selected_only)
        c.selectelems.draw(c.surface, render::primitive::triangles);
    else
        c.elements.draw(c.surface, render::primitive::triangle_strip);
    step_check("polygon_t::draw(3)");
    glDisable(GL_PRIMITIVE_RESTART);
    step_check("polygon_t::draw(end)");
}

void polygon_mirror::draw() {
    draw_indices(false);
}

void polygon_mirror::draw_selection() {
    draw_indices(true);
}

std::uint64_t polygon_mirror::draw_surface_points() {
    if (render::has_context()) {
        copies_t& c = refresh({array::vertices, array::normals});
        make_layout(c.surface, c.vertices, c.frames, 3);
        c.surface.draw_arrays(render::primitive::points, surface_.vertex_count());
    }
    return surface_.vertex_count();
}

void polygon_mirror::draw_feedback_points() {
    if (!render::has_context()) return;
    copies_t& c = refresh({array::vertices, array::wknmls});
    make_layout(c.feedback, c.vertices, c.work, 3);
    c.feedback.draw_arrays(render::primitive::points, surface_.vertex_count());
}

render::feedbackbuffer& polygon_mirror::feedback_buffer() {
    render::feedbackbuffer& captured = copies().captured;
    const std::uint64_t floats = surface_.vertex_count() * render::frame_floats;
    if (captured.floats() != floats) captured.allocate(floats);
    return captured;
}

render::array_buffer_t& polygon_mirror::frame_array() {
    return refresh({array::normals}).frames;
}

void polygon_mirror::fetch_frames() {
    if (!render::has_context() || surface_.vertex_count() == 0) return;
    copies_t& c = refresh({array::normals});
    if (const float* computed = c.frames.map()) {
        const std::span<frame_t> frames = surface_.edit_normals();
        std::memcpy(frames.data(), computed, frames.size_bytes());
        c.seen[std::size_t(array::normals)] = surface_.revision(array::normals); // the GL has them already
        c.frames.unmap();
    }
}

frame_update renderer_frames(render::glpolygon_t& renderer) {
    return [&renderer](polygon_t& surface) {
        if (!render::has_context()) {
            average_frames(surface);
            return;
        }
        polygon_mirror mirror(surface);
        renderer.update_frames(mirror);
        mirror.fetch_frames();
    };
}

} // namespace pmt3d
