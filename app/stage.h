#pragma once
// What stands around the keys and does not move: a case with a mirror, and the studio in which it stands.

#include "app/keyboard_scene.h"
#include "pmt3d/format/model.h"
#include "render/math/pixel_rect.h"
#include "render/math/types.h"

#include <list>
#include <optional>
#include <string>
#include <vector>

namespace quenvarel {

// World to eye space, and back.
struct eye_view {
    render::mtx3w view, inverse;
};

// A case is a model of any number of surfaces and an environment. Surfaces with a refractfactor are polished:
// they reflect the environment, the more the smaller the factor. The first of them that is flat is a mirror:
// it shows the keys and the case as well, the more the flatter one looks along it.
//
// Drawn in steps. What the keys do not change can be kept as a picture: the environment as the background,
// the case, and their image in the mirror. It leaves the stencil at 1 where the mirror is seen. What the keys
// change comes then: their image in the mirror, which is finished with the mirror's own surface and so
// brings the stencil back to 0; and, in front of all, those surfaces of the case that are not opaque. The
// keys themselves may be drawn at any time before these.
class stage {
public:
    static constexpr std::uint64_t most_triangles = 200'000;

    // Reads a case, if there is that file. One that cannot be read or is too large is reported in one line,
    // and there is none then.
    void load(const std::string& file);
    // Gives everything back; with the context.
    void clear();

    // What surrounds the scene.
    libgr::environment_t& environment() { return environment_; }

    // The view or the window has changed.
    void look(const eye_view& from, const viewport& port);
    // What follows needs the context, and a framebuffer that has a stencil and the part as its scissor.
    void clear_picture();
    void draw_fixed(const painter& with, const render::pixel_rect& part);
    // The rest, before and after the keys are drawn. Both only where they may be seen in the part.
    void draw_mirrored(const painter& with, keyboard_scene& keys, const key_rectangles& mirrored,
                       const render::pixel_rect& part);
    void draw_translucent(const painter& with, const render::pixel_rect& part);

    // Where the mirror is; empty when it is not seen.
    render::pixel_rect mirror() const {
        return mirror_ && can_mirror_ && mirror_->faces_the_eye ? mirror_->covered : render::pixel_rect{};
    }
    // The pixels in which the mirror may show this key.
    render::pixel_rect mirrored(const keyboard_scene& keys, int key, bool at_rest = false) const;

private:
    struct surface_t {
        surface_t(const pmt3d::polygon_t& shape, const libgr::texture_t& texture);
        pmt3d::polygon_t shape;
        pmt3d::polygon_mirror copies{shape}; // in the GL
        libgr::texture_t texture;
        float polish = 0; // share of the environment that it reflects
        bool closed = false;
        render::box3 bounds{};
        // For the view at hand.
        render::pixel_rect covered{};
        bool mirrored = false; // may be seen in the mirror
    };
    struct mirror_t {
        mirror_t(const pmt3d::polygon_t& shape, const libgr::texture_t& texture, const render::surface& where)
            : surface(shape, texture),
              plane(where) {}
        surface_t surface;
        render::surface plane; // in the world; its normal points to where the mirror is seen from
        // For the view at hand.
        bool faces_the_eye = false;
        render::mtx3w reflection{}; // of eye space; its own inverse
        render::mtx3w projection{}; // clips what is behind the mirror
        render::pixel_rect covered{};
    };

    void dress(pmt3d::model_t& model, const std::string& file);
    void add(const pmt3d::model_item_t& item, const std::string& file);
    void draw_background(const painter& with, const render::mtx3w& view, const render::mtx3w& projection);
    void draw_surface(const painter& with, surface_t& surface, const render::mtx3w& view,
                      const render::mtx3w& inverse, bool reflecting = true);
    painter through_mirror(const painter& with) const;
    void set_film();

    libgr::environment_t environment_;
    pmt3d::polygon_t box_; // on which the background is drawn
    pmt3d::polygon_mirror box_copies_{box_};
    std::optional<libgr::texture_t> polished_; // what something polished wears
    std::optional<mirror_t> mirror_;
    bool can_mirror_ = true;
    std::list<surface_t> opaque_, translucent_;
    eye_view eye_{};
    viewport port_{render::mtx3w::identity(), 1, 1};
};

} // namespace quenvarel
