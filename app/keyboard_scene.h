#pragma once
// The keyboard in the picture: one slot a note, each with the model of its key and the matrices that show it
// at rest or pressed down. Needs no GL context except where it says so.

#include "app/key_glow.h"
#include "libgr/texture/environment.h"
#include "libgr/texture/surface_texture.h"
#include "pmt3d/mirror/polygon_mirror.h"
#include "pmt3d/surface/polygon.h"
#include "render/math/pixel_rect.h"
#include "render/math/types.h"

#include <array>
#include <functional>
#include <optional>
#include <string>

namespace render {
class glpolygon_t;
}

namespace quenvarel {

// The camera's lens and the window behind it.
struct viewport {
    render::mtx3w projection; // eye space to clip space
    int width, height;        // of the window in pixels

    render::pixel_rect whole() const { return {0, 0, width, height}; }
};

// What a picture of the keys is drawn with.
using key_rectangles = std::array<render::pixel_rect, 128>; // by key
struct painter {
    render::glpolygon_t& renderer;
    viewport view;
    render::pos3 light; // in eye space
    float shininess;    // the Phong exponent
    glow_t& glow;
    const render::mtx3w* reflection = nullptr; // of eye space on a mirror: draws what is seen in it
    // From eye space to the world: draws all keys as they are at rest.
    const render::mtx3w* at_rest = nullptr;
};

// The pixels within the window that a box may cover, edges smoothed. model: from the box to eye space.
render::pixel_rect covered_by(const render::box3& box, const render::mtx3w& model, const viewport& view);

// Key numbers are masked to 7 bits.
class keyboard_scene {
public:
    static constexpr int key_count = 128;

    keyboard_scene();

    // Loads every key k from the file "k.pmt" of a directory; a name that ends neither with "/" nor with ":"
    // gets a "/" appended. Each file that is missing or wrong is reported in a line on standard output, after
    // the reason on standard error, and leaves its key empty: it is pressed and released like the others, but
    // not seen. Asks before each key whether to stop; the rest then stays as it is. Returns true.
    bool load(
        std::string directory, const std::function<bool()>& stop = [] { return false; });
    // What polished keys reflect.
    void surround(const libgr::environment_t& environment) { environment_ = environment; }
    // Empties all keys, which gives their GL objects back when their context is current.
    void clear();

    // A key moves to the view: the matrix from world to eye space and its inverse.
    void press(int key, const render::mtx3w& view, const render::mtx3w& normal);
    void release(int key, const render::mtx3w& view, const render::mtx3w& normal);
    void release_all(const render::mtx3w& view, const render::mtx3w& normal);
    // The view has changed.
    void update_all(const render::mtx3w& view, const render::mtx3w& normal);

    // It is as it was loaded.
    bool at_rest(int key) const { return !pressed(key) && glow(key) == 0; }
    // How strongly the key glows.
    glow_level glow(int key) const { return slots_[index(key)].glow; }
    void set_glow(int key, glow_level level) { slots_[index(key)].glow = level; }

    bool pressed(int key) const { return slots_[index(key)].pressed; }
    // From the key's model to eye space, and the inverse, with which normals are brought there.
    const render::mtx3w& model_matrix(int key) const { return slots_[index(key)].model; }
    const render::mtx3w& normal_matrix(int key) const { return slots_[index(key)].normal; }
    const pmt3d::polygon_t& surface(int key) const { return slots_[index(key)].surface; }
    // Of its model; nothing without a triangle.
    const std::optional<render::box3>& bounds(int key) const { return slots_[index(key)].bounds; }
    // On average, without a glow.
    render::col3 color(int key);

    // Draws the keys in ascending order with the current context: those of which a part of the picture may
    // show something, going by the pixels that each may cover.
    void draw(const painter& with, const key_rectangles& covered, const render::pixel_rect& part);

    // The pixels within the window that a key, or its reflection, may cover, edges smoothed; empty when it
    // has no surface or is not in sight.
    render::pixel_rect covered(int key, const viewport& view, const render::mtx3w* reflection = nullptr,
                               bool at_rest = false) const;

    // Calls the action with the number of the nearest key at a pixel, counted from the lower left; of two
    // that are equally near the lower number wins. False, without a call, when there is none. The key
    // `at_rest` is picked as if it were not pressed.
    bool pick(int x, int y, const viewport& view, const std::function<void(int)>& action,
              std::optional<int> at_rest = {}) const;

private:
    struct slot {
        bool pressed = false;
        glow_level glow = 0;
        render::pos3 pivot = {}; // the key turns about the axis through this point of its model
        render::mtx3w model = render::mtx3w::identity();
        render::mtx3w model_at_rest = render::mtx3w::identity();
        render::mtx3w normal = render::mtx3w::identity();
        libgr::texture_t texture;
        pmt3d::polygon_t surface;
        pmt3d::polygon_mirror mirror{surface};
        // Of the surface, kept when it is loaded.
        std::optional<render::box3> bounds; // nothing without a triangle
        bool hides_its_back = false;
        float polish = 0; // share of the environment that it reflects
        std::optional<render::col3>
            color; // on average; found out when it is needed, for all with that picture
    };
    static std::size_t index(int key) { return static_cast<unsigned>(key) & 127; }
    static bool LoadShape(slot& key, const std::string& name);
    void place(slot& key, const render::mtx3w& view, const render::mtx3w& normal) const;

    std::array<slot, key_count> slots_;
    render::mtx3w press_rotation_, inverse_press_rotation_;
    libgr::environment_t environment_;
    bool environment_is_skybox_ = false; // passed on with every key
};

} // namespace quenvarel
