#pragma once
// The keyboard in the picture: one slot a note, each with the model of its key and the matrices that show it
// at rest or pressed down. Needs no GL context except where it says so.

#include "render/math/types.h"

#include <array>
#include <string>

namespace quenvarel {

// What is pressed and how it is turned. Key numbers are masked to 7 bits.
class keyboard_scene {
public:
    keyboard_scene();

    // A key moves to the view: the matrix from world to eye space and its inverse.
    void press(int key, const render::mtx3w& view, const render::mtx3w& normal);
    void release(int key, const render::mtx3w& view, const render::mtx3w& normal);
    void release_all(const render::mtx3w& view, const render::mtx3w& normal);
    // The view has changed.
    void update_all(const render::mtx3w& view, const render::mtx3w& normal);

    bool pressed(int key) const { return slots_[index(key)].pressed; }
    // From the key's model to eye space, and the inverse, with which normals are brought there.
    const render::mtx3w& model_matrix(int key) const { return slots_[index(key)].model; }
    const render::mtx3w& normal_matrix(int key) const { return slots_[index(key)].normal; }

private:
    struct slot {
        bool pressed = false;
        render::pos3 pivot = {}; // the key turns about the axis through this point of its model
        render::mtx3w model = render::mtx3w::identity();
        render::mtx3w normal = render::mtx3w::identity();
    };
    static std::size_t index(int key) { return static_cast<unsigned>(key) & 127; }
    void place(slot& key, const render::mtx3w& view, const render::mtx3w& normal) const;

    std::array<slot, 128> slots_;
    render::mtx3w press_rotation_, inverse_press_rotation_;
};

} // namespace quenvarel
