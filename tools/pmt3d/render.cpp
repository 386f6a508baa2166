// pmt3d render IN OUT.png: a picture of a model.

#include "libgr/image/image.h"
#include "libutils/number.h"
#include "libutils/report.h"
#include "model_file.h"
#include "offscreen_context.h"
#include "picture_file.h"
#include "pmt3d/mirror/polygon_mirror.h"
#include "progress_bar.h"
#include "render/gl/framebuffer.h"
#include "render/gl/step_check.h"
#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"
#include "render/surface/glpolygon.h"
#include "subcommand.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

namespace tool {

namespace {

using render::dir3;
using render::mtx3w;
using render::pos3;

constexpr double field_of_view = 0.9; // across the diagonal, in radians: a short portrait lens
constexpr float shininess = 10.0f;
constexpr int wanted_samples = 4;
constexpr float background[] = {0.10f, 0.11f, 0.13f};

struct options {
    std::string in, out;
    std::uint32_t width = 800, height = 600;
    std::optional<pos3> eye, target;
};

bool parse_size(const char* text, options& o) {
    const char* end = nullptr;
    o.width = libutils::read_unsigned(text, &end);
    if (end == text || *end != 'x') return false;
    const char* const second = end + 1;
    o.height = libutils::read_unsigned(second, &end);
    return end != second && *end == '\0' && o.width > 0 && o.height > 0;
}

bool parse_point(const char* text, std::optional<pos3>& point) {
    float values[3];
    if (!numbers(text, values)) return false;
    point = {values[0], values[1], values[2]};
    return true;
}

// What a view of the model needs.
struct camera {
    mtx3w view, projection;
    pos3 light; // in eye space
};

// The place nearest to the model, in the coordinates of a view, from which all of it is seen along the view's
// axis; with `straight`, the nearest one on that axis.
pos3 fitting_place(const pmt3d::model_t& model, const mtx3w& view, float half_width, float half_height,
                   bool straight) {
    // A point is seen from where the lines to it are no steeper than the borders. So each border's outermost
    // point tells how far away this border has to meet the axis.
    float right = 0.0f, left = 0.0f, top = 0.0f, bottom = 0.0f;
    for (const pmt3d::model_item_t& item : model.items) {
        const auto vertices = item.polygon.vertices();
        for (const pmt3d::element_t element : item.polygon.getelements()) {
            if (element >= vertices.size()) continue;
            const pos3& p = vertices[element].position;
            const render::vec3w seen = view * render::vec3w{p.x, p.y, p.z, 1.0f};
            right = std::max(right, seen.z + seen.x / half_width);
            left = std::max(left, seen.z - seen.x / half_width);
            top = std::max(top, seen.z + seen.y / half_height);
            bottom = std::max(bottom, seen.z - seen.y / half_height);
        }
    }
    if (straight) return {0.0f, 0.0f, std::max({right, left, top, bottom})};
    return {half_width * (right - left) / 2.0f, half_height * (top - bottom) / 2.0f,
            std::max(right + left, top + bottom) / 2.0f};
}

// Without an eye or a target of the user's: from in front and somewhat above. None when the eye is where it
// looks.
std::optional<camera> camera_for(const options& o, const pmt3d::model_t& model, const render::box3& box) {
    const dir3 half = 0.5f * (box.max - box.min);
    const pos3 center = box.min + half;
    const float radius = std::max(render::length(half), 1e-6f);

    render::perspective lens;
    lens.fov = field_of_view;
    lens.aspect = render::aspect(o.width, o.height);
    lens.znear = lens.zfar = 1.0; // for the angles alone
    const render::projection unit = render::to_projection(lens);

    pos3 target = o.target.value_or(center), eye;
    if (o.eye)
        eye = *o.eye;
    else {
        constexpr float margin = 1.08f;
        const dir3 direction = render::normalise(dir3{0.35f, 0.5f, 1.0f});
        const mtx3w view = render::look_at(target, target - direction);
        const pos3 place =
            fitting_place(model, view, float(unit.right), float(unit.top), o.target.has_value());
        target =
            target + dir3{view[0], view[4], view[8]} * place.x + dir3{view[1], view[5], view[9]} * place.y;
        eye = target + direction * std::max(margin * place.z, radius * 1e-3f);
    }
    const float away = render::length(eye - target);
    if (away == 0.0f) return {};
    const float distance = render::length(eye - center);
    lens.zfar = distance + 1.01f * radius;
    lens.znear = std::max(double(distance - 1.01f * radius), lens.zfar * 1e-4);
    return camera{render::look_at(eye, target),
                  render::perspective_matrix(render::to_projection(lens)),
                  {-0.5f * away, 0.6f * away, 0.3f * away}};
}

void draw(render::glpolygon_t& renderer, model_file& file, const camera& camera) {
    glClearColor(background[0], background[1], background[2], 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    mtx3w turn = camera.view; // directions of the eye's space are those of the world, turned
    turn[12] = turn[13] = turn[14] = 0.0f;
    const mtx3w inverse = render::inverse(camera.view);
    libgr::environment_t& environment = file.pictures.environment;
    render::surroundings* around = environment.has_cube() ? &environment : nullptr;
    auto texture = file.pictures.surfaces.begin();
    for (pmt3d::model_item_t& item : file.model.items) {
        pmt3d::polygon_mirror surface(item.polygon);
        renderer.drawsolid(around, false, *texture++, surface, turn, camera.view, inverse, camera.projection,
                           camera.light, shininess);
    }
}

int fail(const std::string& what) {
    libutils::report("pmt3d render: ", what);
    return failure;
}

int make_picture(const options& o, const command_line& line) {
    const auto context = offscreen_context::make();
    if (!context)
        return fail("there is no OpenGL 3.3 context to draw with, neither off screen nor on a display.");
    const render::context_stays stays;
    const auto longest = std::uint32_t(render::framebuffer_t::longest_side());
    if (o.width > longest || o.height > longest)
        return fail("pictures can be at most " + std::to_string(longest) + " pixels wide and high here.");

    // All of these hold GL objects, and so go before the context.
    render::glpolygon_t renderer;
    if (!renderer.init("")) return failure;
    model_file file(line);
    if (!file.load(o.in.c_str(), pmt3d::renderer_frames(renderer))) return failure;
    pmt3d::model_t& model = file.model;
    const progress_bar bar("drawing", o.in);
    const std::optional<render::box3> box = bounds(model);
    if (!box) return fail(o.in + " has nothing to draw.");
    if (!std::isfinite(render::length(box->max - box->min))) return fail(o.in + " is too large to be seen.");
    const std::optional<camera> view = camera_for(o, model, *box);
    if (!view) return fail("--eye is the point that is looked at; --target says where to look.");
    render::framebuffer_t picture;
    if (!picture.allocate(int(o.width), int(o.height), wanted_samples))
        return fail("a picture of this size cannot be drawn here.");
    picture.bind();
    glViewport(0, 0, picture.width(), picture.height());
    draw(renderer, file, *view);
    picture.resolve({0, 0, picture.width(), picture.height()});
    libgr::image2d image;
    image.width = o.width;
    image.height = o.height;
    image.descriptor = {libgr::pixel_format::rgb, libgr::sample_type::unsigned_integer,
                        libgr::bits_class::bits_8};
    if (!image.allocate()) return fail("there is no memory for a picture of this size.");
    picture.read(image.row(0));
    return save_picture(image, o.out) ? success : failure;
}

constexpr option table[] = {
    from_option,
    {"--size", "WxH", "width and height of the picture in pixels (800x600)"},
    {"--eye", "X,Y,Z", "where the viewer is (in front and above, from where all of it is seen)"},
    {"--target", "X,Y,Z", "the point that is looked at (the middle of the model)"},
};

int run(const command_line& line) {
    options o;
    if (const char* const size = line.value("--size"); size && !parse_size(size, o))
        return usage_error(render_picture, "--size takes WIDTHxHEIGHT, such as 800x600.");
    for (const auto& [name, point] : {std::pair("--eye", &o.eye), std::pair("--target", &o.target)})
        if (const char* const value = line.value(name); value && !parse_point(value, *point))
            return usage_error(render_picture, std::string(name) + " takes three numbers, such as 0,2.5,10.");
    const std::vector<const char*>& names = line.operands;
    if (names.size() != 2) return usage_error(render_picture, "exactly two files, IN and OUT, are needed.");
    if (o.eye && o.eye == o.target)
        return usage_error(render_picture, "--eye and --target must not be the same point.");
    if (format_of(names[1]) == libgr::file_format::unknown)
        return usage_error(render_picture, "OUT ends in .png, .bmp, .tga, .jpg or .jpeg.");
    o.in = names[0];
    o.out = names[1];
    return make_picture(o, line);
}

} // namespace

const subcommand render_picture = {
    "render",
    "IN OUT.png",
    "draw a picture of a model",
    table,
    R"(Draws with the instrument's own renderer: pictures, bumps, highlights and
the model's environment. The light is above the viewer's left shoulder. OUT may
end in .bmp, .tga, .jpg or .jpeg as well.

Needs OpenGL 3.3. On Linux no display is needed where the driver can draw off
screen, as Mesa's can (EGL); on Windows a window is made that is never shown.
)",
    run,
};

} // namespace tool
