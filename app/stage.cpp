#include "app/stage.h"

#include "app/closed_surface.h"
#include "app/polish.h"
#include "libgr/texture/texture_table.h"
#include "libutils/file_path.h"
#include "libutils/report.h"
#include "pmt3d/format/dispatch.h"
#include "pmt3d/surface/strips.h"
#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/surface/glpolygon.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <set>
#include <system_error>
#include <utility>

namespace quenvarel {

using render::dir3;
using render::mtx3w;
using render::pos3;
using render::surface;
using render::vec3w;

namespace {

// Room enough for that many triangles.
constexpr std::uint64_t most_bytes = stage::most_triangles * 200;

// What the background wears: nothing, which leaves it unlit.
class bare_t : public render::appearance {
public:
    bool has(render::texture_unit) override { return false; }
    void bind(render::texture_unit) override {}
    void unbind(render::texture_unit) override {}
    std::array<float, 2> bump_offset() override { return {}; }
    bool mercator_sphere() override { return false; }
};

// The plane in which all triangles lie; nothing when there is none, or no one such plane.
std::optional<surface> plane_of(const pmt3d::polygon_t& shape) {
    const auto vertices = shape.vertices();
    dir3 sum = {0, 0, 0};
    pmt3d::for_each_triangle(
        shape.getelements(), vertices.size(), [&](std::uint64_t, bool, auto a, auto b, auto c) {
            sum = sum +
                  render::triangle_normal(vertices[a].position, vertices[b].position, vertices[c].position);
        });
    const dir3 n = render::normalise(sum);
    if (vertices.empty() || n == dir3{0, 0, 0}) return std::nullopt;
    const float d = -render::dot(n, vertices[0].position - pos3{0, 0, 0});
    constexpr float flat = 1e-3f;
    for (const pmt3d::vertex_t& vertex : vertices)
        if (!(std::abs(render::dot(n, vertex.position - pos3{0, 0, 0}) + d) < flat)) return std::nullopt;
    return surface{n.x, n.y, n.z, d};
}

// Whether some of a box is on the plane's positive side.
bool is_before(const render::box3& box, const surface& plane) {
    const auto most = [](float factor, float min, float max) { return factor * (factor > 0 ? max : min); };
    return most(plane.a, box.min.x, box.max.x) + most(plane.b, box.min.y, box.max.y) +
               most(plane.c, box.min.z, box.max.z) + plane.d >
           0.01f;
}

// Of eye space on a plane in it.
mtx3w reflection_on(const vec3w& plane) {
    const float n[] = {plane.x, plane.y, plane.z};
    mtx3w result = mtx3w::identity();
    for (std::size_t column = 0; column < 4; ++column)
        for (std::size_t row = 0; row < 3; ++row)
            result[4 * column + row] -= 2 * n[row] * (column < 3 ? n[column] : plane.w);
    return result;
}

// A perspective whose near plane is moved into this one, so that nothing on its positive side is drawn. The
// eye is on that side.
mtx3w clipped_behind(mtx3w projection, const vec3w& plane) {
    const vec3w c = {-plane.x, -plane.y, -plane.z, -plane.w};
    const auto sign = [](float value) { return value < 0 ? -1.0f : 1.0f; };
    // The corner of the view volume that is farthest behind the plane stays in it.
    const vec3w corner = {(sign(c.x) + projection[8]) / projection[0],
                          (sign(c.y) + projection[9]) / projection[5], -1,
                          (1 + projection[10]) / projection[14]};
    const float scale = 2 / (c.x * corner.x + c.y * corner.y + c.z * corner.z + c.w * corner.w);
    projection[2] = c.x * scale;
    projection[6] = c.y * scale;
    projection[10] = c.z * scale + 1;
    projection[14] = c.w * scale;
    return projection;
}

// Reported in one line when it is not there.
bool exists(const std::string& picture) {
    std::error_code error;
    return std::filesystem::exists(libutils::file_path(picture), error) ||
           libutils::report(picture, ": there is no such picture.");
}

// Corners that are the same but for rounding, such as those of a surface that closes on itself, become one.
bool is_nearly_closed(pmt3d::polygon_t shape) {
    constexpr float steps = 4096;
    const auto snap = [](float& value) { value = std::round(value * steps) / steps; };
    for (pmt3d::vertex_t& vertex : shape.edit_vertices())
        for (float* const value : {&vertex.position.x, &vertex.position.y, &vertex.position.z})
            snap(*value);
    return is_closed(shape);
}

// A box around the eye, seen from inside.
pmt3d::polygon_t make_box() {
    constexpr float size = 100;
    pmt3d::polygon_t box;
    constexpr pmt3d::element_t strip[] = {0, 1, 2, 3, 7, 1, 5, 0, 4, 2, 6, 7, 4, 5};
    if (!box.allocate(8, std::size(strip))) return box;
    const auto vertices = box.edit_vertices();
    for (unsigned i = 0; i < 8; ++i) {
        const auto side = [&](unsigned bit) { return (i & bit) != 0 ? size : -size; };
        vertices[i] = {{side(1), side(2), side(4)}, {0, 0, 0, 1}, {0, 0}};
        box.edit_normals()[i] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    }
    std::copy(std::begin(strip), std::end(strip), box.edit_elements().begin());
    return box;
}

} // namespace

stage::surface_t::surface_t(const pmt3d::polygon_t& of, const libgr::texture_t& wears)
    : shape(of),
      texture(wears),
      polish(polish_of(wears.refractfactor)),
      closed(is_nearly_closed(of)) {
    shape.getbound(bounds.min, bounds.max);
}

void stage::load(const std::string& file) {
    box_ = make_box();
    std::error_code error;
    const auto path = libutils::file_path(file);
    const auto status = std::filesystem::status(path, error);
    const bool is_there = status.type() != std::filesystem::file_type::not_found;
    const std::uint64_t bytes =
        std::filesystem::is_regular_file(status) ? std::filesystem::file_size(path, error) : 0;
    pmt3d::model_t model;
    std::uint64_t triangles = 0;
    if (is_there && bytes <= most_bytes && pmt3d::load_text(model, file, {.error = std::cerr})) {
        for (const pmt3d::model_item_t& item : model.items)
            triangles += item.polygon.element_count();
        if (triangles <= most_triangles) dress(model, file);
    }
    if (bytes > most_bytes || triangles > most_triangles)
        libutils::report(file, ": more than ", most_triangles, " triangles.");
    if (environment_.initex(file)) return;
    environment_.cubetex.clear(); // the studio that every model has
    environment_.initex(file);
}

void stage::dress(pmt3d::model_t& model, const std::string& file) {
    std::set<std::string> missing;
    for (pmt3d::model_item_t& item : model.items) {
        for (std::string* const name :
             {&item.texture.texture, &item.texture.bumpmap, &item.texture.specular}) {
            if (name->empty()) continue;
            if (missing.contains(*name) || !exists(libgr::picture_path(file, *name))) {
                missing.insert(*name);
                name->clear();
            }
        }
        add(item, file);
    }
    libgr::environment_options& around = environment_;
    around = model.environment;
    if (around.cubetex.empty()) return;
    const auto faces = libgr::face_names(libgr::picture_path(file, around.cubetex));
    if (!std::ranges::all_of(faces, exists)) around.cubetex.clear();
}

void stage::add(const pmt3d::model_item_t& item, const std::string& file) {
    if (!item.polygon.bounds()) return;
    libgr::texture_t texture;
    static_cast<libgr::texture_options&>(texture) = item.texture;
    texture.open(file);
    if (!is_opaque(item.polygon, texture)) {
        translucent_.emplace_back(item.polygon, texture);
        return;
    }
    const bool polished = polish_of(texture.refractfactor) > 0;
    if (polished) polished_ = texture;
    const auto plane = polished && !mirror_ ? plane_of(item.polygon) : std::nullopt;
    if (plane)
        mirror_.emplace(item.polygon, texture, *plane);
    else
        opaque_.emplace_back(item.polygon, texture);
}

void stage::clear() {
    environment_ = {};
    box_copies_.release();
    polished_.reset();
    mirror_.reset();
    opaque_.clear();
    translucent_.clear();
}

void stage::look(const eye_view& from, const viewport& port) {
    eye_ = from;
    port_ = port;
    for (std::list<surface_t>* const list : {&opaque_, &translucent_})
        for (surface_t& surface : *list)
            surface.covered = covered_by(surface.bounds, from.view, port);
    if (!mirror_) return;
    const auto& [a, b, c, d] = mirror_->plane;
    const vec3w plane = vec3w{a, b, c, d} * from.inverse;
    mirror_->faces_the_eye = plane.w > 1e-3f;
    mirror_->reflection = reflection_on(plane);
    mirror_->projection = clipped_behind(port.projection, plane);
    mirror_->covered = covered_by(mirror_->surface.bounds, from.view, port);
    set_film();
    for (surface_t& surface : opaque_)
        surface.mirrored =
            is_before(surface.bounds, mirror_->plane) &&
            !render::intersection(covered_by(surface.bounds, mirror_->reflection * from.view, port),
                                  mirror_->covered)
                 .empty();
}

// What lies over the image in the mirror lets through what the mirror reflects.
void stage::set_film() {
    const auto& [a, b, c, d] = mirror_->plane;
    const pos3 eye = {eye_.inverse[12], eye_.inverse[13], eye_.inverse[14]};
    for (pmt3d::vertex_t& vertex : mirror_->surface.shape.edit_vertices()) {
        const float cosine = render::dot(dir3{a, b, c}, render::normalise(eye - vertex.position));
        vertex.color.a = mirror_->faces_the_eye
                             ? 1 - stored_share(fresnel(mirror_->surface.texture.refractfactor, cosine))
                             : 1;
    }
}

void stage::draw_background(const painter& with, const mtx3w& view, const mtx3w& projection) {
    // Of the view only the turn: the background is infinitely far away.
    mtx3w turn = view;
    turn[12] = turn[13] = turn[14] = 0;
    dimmed_surroundings around(environment_, 1, 1);
    bare_t bare;
    // The box is black. It may wear what the case wears, for which the GL has its program ready; no highlight
    // is as sharp as this.
    render::appearance& appearance = polished_ ? *polished_ : static_cast<render::appearance&>(bare);
    constexpr float no_highlight = 1e9f;
    glDepthRange(1, 1); // only where there is nothing yet
    with.renderer.drawsolid(&around, true, appearance, box_copies_, mtx3w::identity(), turn,
                            render::transpose(turn), projection, with.light, no_highlight);
    glDepthRange(0, 1);
}

void stage::draw_surface(const painter& with, surface_t& surface, const mtx3w& view, const mtx3w& inverse,
                         bool reflecting) {
    dimmed_surroundings around(environment_, reflecting ? surface.polish : 0);
    if (surface.closed) glEnable(GL_CULL_FACE);
    with.renderer.drawsolid(&around, false, surface.texture, surface.copies, view, view, inverse,
                            with.view.projection, with.light, with.shininess);
    if (surface.closed) glDisable(GL_CULL_FACE);
}

painter stage::through_mirror(const painter& with) const {
    const vec3w light = mirror_->reflection * vec3w{with.light.x, with.light.y, with.light.z, 1};
    painter mirrored = with;
    mirrored.light = {light.x, light.y, light.z};
    mirrored.view.projection = mirror_->projection;
    mirrored.reflection = &mirror_->reflection;
    return mirrored;
}

void stage::clear_picture() {
    GLint stencil_bits = 0; // a window may have none
    glGetIntegerv(GL_STENCIL_BITS, &stencil_bits);
    can_mirror_ = stencil_bits > 0;
    glClearColor(0, 0, 0, 1);
    glClearStencil(0);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE); // it stays opaque
}

// A software renderer compiles its programs anew for every combination of depth and stencil tests, and does
// so when the first picture is drawn. Hence as few of them as possible.
void stage::draw_fixed(const painter& with, const render::pixel_rect& part) {
    glEnable(GL_STENCIL_TEST);
    glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
    glDepthFunc(GL_LEQUAL);
    const render::pixel_rect seen = render::intersection(part, mirror());
    if (mirror_ && mirror().empty()) {
        glStencilFunc(GL_EQUAL, 0, 1);
        draw_surface(with, mirror_->surface, eye_.view, eye_.inverse);
    }
    glStencilFunc(GL_EQUAL, 0, 1);
    for (surface_t& surface : opaque_)
        if (!render::intersection(part, surface.covered).empty())
            draw_surface(with, surface, eye_.view, eye_.inverse);
    if (!seen.empty()) {
        // Where the mirror is seen, and that there is room behind it.
        glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
        glStencilFunc(GL_ALWAYS, 1, 1);
        draw_surface(with, mirror_->surface, eye_.view, eye_.inverse, false);
        glStencilFunc(GL_EQUAL, 1, 1);
        glDepthFunc(GL_ALWAYS);
        glDepthRange(1, 1);
        draw_surface(with, mirror_->surface, eye_.view, eye_.inverse, false);
        glDepthRange(0, 1);
        glDepthFunc(GL_LEQUAL);
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE);
        glStencilFunc(GL_EQUAL, 0, 1);
    }
    draw_background(with, eye_.view, with.view.projection);
    if (!seen.empty()) {
        const painter mirrored = through_mirror(with);
        const mtx3w view = mirror_->reflection * eye_.view, inverse = eye_.inverse * mirror_->reflection;
        glStencilFunc(GL_EQUAL, 1, 1);
        glScissor(seen.left, seen.bottom, seen.width(), seen.height());
        glFrontFace(GL_CW);
        for (surface_t& surface : opaque_)
            if (surface.mirrored) draw_surface(mirrored, surface, view, inverse, false);
        glFrontFace(GL_CCW);
        draw_background(mirrored, view, with.view.projection);
        glScissor(part.left, part.bottom, part.width(), part.height());
    }
    glDepthFunc(GL_LESS);
    glDisable(GL_STENCIL_TEST);
}

void stage::draw_mirrored(const painter& with, keyboard_scene& keys, const key_rectangles& mirrored,
                          const render::pixel_rect& part) {
    if (render::intersection(part, mirror()).empty()) return;
    glEnable(GL_STENCIL_TEST);
    glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
    glStencilFunc(GL_EQUAL, 1, 1);
    glDepthFunc(GL_LEQUAL);
    glFrontFace(GL_CW);
    keys.draw(through_mirror(with), mirrored, part);
    glFrontFace(GL_CCW);
    glDepthFunc(GL_ALWAYS);
    glStencilOp(GL_KEEP, GL_KEEP, GL_ZERO);
    draw_surface(with, mirror_->surface, eye_.view, eye_.inverse, false); // its background is in the image
    glDepthFunc(GL_LESS);
    glDisable(GL_STENCIL_TEST);
}

void stage::draw_translucent(const painter& with, const render::pixel_rect& part) {
    for (surface_t& surface : translucent_)
        if (!render::intersection(part, surface.covered).empty())
            draw_surface(with, surface, eye_.view, eye_.inverse);
}

render::pixel_rect stage::mirrored(const keyboard_scene& keys, int key, bool at_rest) const {
    if (!mirror_ || !mirror_->faces_the_eye) return {};
    return render::intersection(keys.covered(key, port_, &mirror_->reflection, at_rest), mirror_->covered);
}

} // namespace quenvarel
