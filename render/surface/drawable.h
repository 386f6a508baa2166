#pragma once
// A surface as the renderer sees it: it draws itself with the current program.

#include <cstdint>

namespace render {

class array_buffer_t;
class feedbackbuffer;

// Implemented by the surfaces. Every call happens on the context's thread, with the context current. A
// surface makes its GL objects when a call first needs them, and refreshes them after its data have changed.
class drawable {
public:
    virtual ~drawable() = default;

    // Draws the surface's triangle strips, with vertex attributes 0 Position, 1 Color, 2 TexCoord, 3 Tangent,
    // 4 BiNormal, 5 Normal.
    virtual void draw() = 0;
    // Draws the selected triangles, with the same attributes.
    virtual void draw_selection() = 0;

    // Draws every vertex as a point, in order, for the frame pass: attributes 0 Position, 1 Color, 2
    // TexCoord, and two pairs of directions along the surface, 3 Tangent, 4 BiNormal, 5 Tangent2, 6
    // BiNormal2, whose frames are averaged.
    virtual void draw_feedback_points() = 0;
    // The number of those points.
    virtual std::uint64_t feedback_vertex_count() = 0;
    // Receives the averaged frames: nine floats for every point, allocated by the surface.
    virtual feedbackbuffer& feedback_buffer() = 0;
    // The frames that draw() uses, nine floats a vertex: tangent, binormal, normal. The pass overwrites it
    // with the feedback buffer.
    virtual array_buffer_t& frame_array() = 0;
};

} // namespace render
