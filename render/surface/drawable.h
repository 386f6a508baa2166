#pragma once
// A surface as the renderer knows it: something that draws itself with whatever program is in use.

#include <cstdint>

namespace render {

class array_buffer_t;
class feedbackbuffer;

// Implemented by the surfaces. Every call is made with a current context and on its thread; a surface makes
// its GL objects when the first of these calls needs them, and refreshes them when its data have changed.
class drawable {
public:
    virtual ~drawable() = default;

    // The surface's triangle strips, with vertex attributes 0 Position, 1 Color, 2 TexCoord, 3 Tangent, 4
    // BiNormal, 5 Normal.
    virtual void draw() = 0;
    // The selected triangles, with the same attributes.
    virtual void draw_selection() = 0;

    // Every vertex as one point, in their order, for the frame pass: attributes 0 Position, 1 Color, 2
    // TexCoord, and 3 Tangent, 4 BiNormal, 5 Tangent2, 6 BiNormal2, two pairs of directions along the surface
    // whose frames are averaged.
    virtual void draw_feedback_points() = 0;
    // How many points that draws.
    virtual std::uint64_t feedback_vertex_count() = 0;
    // Receives the averaged frames: nine floats for every point, allocated by the surface.
    virtual feedbackbuffer& feedback_buffer() = 0;
    // The frames that draw() uses, nine floats a vertex: tangent, binormal, normal. The pass copies the whole
    // feedback buffer over it.
    virtual array_buffer_t& frame_array() = 0;
};

} // namespace render
