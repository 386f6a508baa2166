#include "app/keyboard_scene.h"

#include "app/closed_surface.h"
#include "app/key_picking.h"
#include "app/polish.h"
#include "libgr/image/convert.h"
#include "libgr/texture/texture_table.h"
#include "libutils/report.h"
#include "pmt3d/format/line_reader.h"
#include "pmt3d/format/text_reader.h"
#include "render/math/matrix.h"
#include "render/surface/glpolygon.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <vector>

namespace quenvarel {

using render::box3;
using render::mtx3w;
using render::pos3;
using render::vec3w;

namespace {

constexpr unsigned char press_parameter = 127;
constexpr float press_angle = press_parameter * 0.03125f; // degrees
constexpr render::dir3 press_axis = {1, 0, 0};

// How far the smoothing of an edge, and rounding, may reach beyond it, in pixels.
constexpr int margin = 1;

mtx3w translation(const pos3& by, float sign) {
    return mtx3w::translation(sign * by.x, sign * by.y, sign * by.z);
}

// Of the colour picture; white without one.
render::col3 average_color(const libgr::texture_t& texture) {
    const libgr::texture_record* record = texture.record(render::texture_unit::color);
    if (!record) return {1, 1, 1};
    const libgr::image2d& image = record->image();
    std::vector<unsigned char> row(std::size_t{image.width} * 3);
    double sum[3] = {};
    for (std::uint32_t y = 0; y < image.height; ++y) {
        if (!libgr::read_rgb_row(row.data(), image, y)) return {1, 1, 1};
        for (std::size_t i = 0; i < row.size(); ++i)
            sum[i % 3] += row[i];
    }
    const double all = 255.0 * image.width * image.height;
    return {float(sum[0] / all), float(sum[1] / all), float(sum[2] / all)};
}

} // namespace

keyboard_scene::keyboard_scene()
    : press_rotation_(render::to_matrix(render::rot3{press_angle, press_axis})),
      inverse_press_rotation_(render::to_matrix(render::rot3{-press_angle, press_axis})) {}

bool keyboard_scene::load(std::string directory, const std::function<bool()>& stop) {
    if (!directory.empty() && directory.back() != '/' && directory.back() != ':') directory += '/';
    for (int k = 0; k < key_count && !stop(); ++k) {
        const std::string name = directory + std::to_string(k) + ".pmt";
        slot& key = slots_[index(k)];
        if (LoadShape(key, name)) continue;
        key.surface.clear();
        key.bounds.reset();
        libutils::error_report();
        std::cout << name << ": LoadShape() error." << std::endl;
    }
    return true;
}

bool keyboard_scene::LoadShape(slot& key, const std::string& name) {
    pmt3d::line_reader in;
    if (!in.open(name)) return libutils::report(name, ": file open error.");
    const std::uint64_t blocks = pmt3d::read_blocks(in, std::cerr, [&]() -> std::optional<bool> {
        if (!in.line().starts_with(pmt3d::polygon_header)) return std::nullopt;
        if (!pmt3d::read_polygon_block(name, key.texture, key.surface, in, std::cerr)) return false;
        key.texture.open(name);
        return true;
    });
    if (blocks == 0) return false;
    key.bounds = key.surface.bounds();
    key.hides_its_back = is_opaque(key.surface, key.texture) && is_closed(key.surface);
    key.polish = polish_of(key.texture.refractfactor);
    key.color.reset();
    return true;
}

void keyboard_scene::clear() {
    for (slot& key : slots_) {
        key.surface.clear();
        key.mirror.release();
        key.texture = {};
        key.bounds.reset();
    }
    environment_ = {};
}

void keyboard_scene::place(slot& key, const mtx3w& view, const mtx3w& normal) const {
    key.model_at_rest = view;
    if (!key.pressed) {
        key.model = view;
        key.normal = normal;
        return;
    }
    const mtx3w to_pivot = translation(key.pivot, 1), from_pivot = translation(key.pivot, -1);
    key.model = view * to_pivot * press_rotation_ * from_pivot;
    key.normal = to_pivot * inverse_press_rotation_ * from_pivot * normal;
}

void keyboard_scene::press(int key, const mtx3w& view, const mtx3w& normal) {
    slot& pressed = slots_[index(key)];
    pressed.pressed = true;
    place(pressed, view, normal);
}

void keyboard_scene::release(int key, const mtx3w& view, const mtx3w& normal) {
    slot& released = slots_[index(key)];
    released.pressed = false;
    place(released, view, normal);
}

void keyboard_scene::release_all(const mtx3w& view, const mtx3w& normal) {
    for (slot& key : slots_)
        key.pressed = false;
    update_all(view, normal);
}

void keyboard_scene::update_all(const mtx3w& view, const mtx3w& normal) {
    for (slot& key : slots_)
        place(key, view, normal);
}

render::pixel_rect covered_by(const box3& box, const mtx3w& model, const viewport& view) {
    const mtx3w to_clip = view.projection * model;
    const auto& [min, max] = box;
    float left = 1, bottom = 1, right = -1, top = -1;
    for (const float x : {min.x, max.x})
        for (const float y : {min.y, max.y})
            for (const float z : {min.z, max.z}) {
                const vec3w corner = to_clip * vec3w{x, y, z, 1};
                // Partly behind the eye: it may be anywhere.
                if (!(corner.w > 0)) return view.whole();
                left = std::min(left, corner.x / corner.w);
                right = std::max(right, corner.x / corner.w);
                bottom = std::min(bottom, corner.y / corner.w);
                top = std::max(top, corner.y / corner.w);
            }
    const auto pixel = [](float value, int size) {
        return static_cast<int>(
            std::floor((std::clamp(value, -2.0f, 2.0f) + 1) / 2 * static_cast<float>(size)));
    };
    return render::intersection({pixel(left, view.width) - margin, pixel(bottom, view.height) - margin,
                                 pixel(right, view.width) + 1 + margin, pixel(top, view.height) + 1 + margin},
                                view.whole());
}

render::pixel_rect keyboard_scene::covered(int key, const viewport& view, const mtx3w* reflection,
                                           bool at_rest) const {
    const slot& which = slots_[index(key)];
    if (!which.bounds) return {};
    const mtx3w& model = at_rest ? which.model_at_rest : which.model;
    return covered_by(*which.bounds, reflection ? *reflection * model : model, view);
}

void keyboard_scene::draw(const painter& with, const key_rectangles& covered,
                          const render::pixel_rect& part) {
    for (std::size_t k = 0; k < slots_.size(); ++k) {
        slot& key = slots_[k];
        if (!key.bounds || render::intersection(part, covered[k]).empty()) continue;
        glow_level glow = with.at_rest ? 0 : key.glow;
        if (glow > 0 && with.reflection) glow = full_glow; // its steps would cost more than they show
        mtx3w model = with.at_rest ? key.model_at_rest : key.model;
        mtx3w normal = with.at_rest ? *with.at_rest : key.normal;
        if (with.reflection) {
            model = *with.reflection * model;
            normal = normal * *with.reflection;
        }
        if (key.hides_its_back) glEnable(GL_CULL_FACE);
        // A reflection in a reflection is too faint to be worth its time.
        dimmed_surroundings around(environment_, with.reflection ? 0 : key.polish);
        const auto draw = [&](render::appearance& appearance) {
            with.renderer.drawsolid(&around, environment_is_skybox_, appearance, key.mirror,
                                    mtx3w::identity(), model, normal, with.view.projection, with.light,
                                    with.shininess);
        };
        if (glow > 0) {
            glowing appearance(key.texture, with.glow.color(color(static_cast<int>(k)), glow));
            draw(appearance);
        } else {
            draw(key.texture);
        }
        if (key.hides_its_back) glDisable(GL_CULL_FACE);
    }
}

render::col3 keyboard_scene::color(int key) {
    const slot& which = slots_[index(key)];
    if (!which.color) {
        const render::col3 average = average_color(which.texture);
        const auto* const picture = which.texture.record(render::texture_unit::color);
        for (slot& other : slots_)
            if (other.texture.record(render::texture_unit::color) == picture) other.color = average;
    }
    return *which.color;
}

bool keyboard_scene::pick(int x, int y, const viewport& view, const std::function<void(int)>& action,
                          std::optional<int> at_rest) const {
    const side_planes planes = planes_around_pixel(x, y, view.width, view.height, view.projection);
    std::optional<int> nearest;
    float nearest_depth = 0;
    for (int k = 0; k < key_count; ++k) {
        const slot& key = slots_[index(k)];
        if (!key.bounds) continue;
        const mtx3w& model = at_rest == k ? key.model_at_rest : key.model;
        const std::optional<float> depth = nearest_between(planes, key.surface, *key.bounds, model);
        if (!depth || (nearest && *depth >= nearest_depth)) continue;
        nearest = k;
        nearest_depth = *depth;
    }
    if (nearest) action(*nearest);
    return nearest.has_value();
}

} // namespace quenvarel
