#pragma once
// Draws a polygon surface.

#include "pmt3d/surface/frames.h"
#include "pmt3d/surface/polygon.h"
#include "render/surface/drawable.h"

#include <cstdint>
#include <memory>

namespace render {
class glpolygon_t;
}

namespace pmt3d {

// Draws a surface from copies of its arrays, which are made when a draw first needs them and refreshed when
// the array has changed. Drawing needs a context, and does nothing without one.
class polygon_mirror : public render::drawable {
public:
    // The surface must outlive the mirror.
    explicit polygon_mirror(polygon_t& surface);
    ~polygon_mirror() override;
    polygon_mirror(const polygon_mirror&) = delete;
    polygon_mirror& operator=(const polygon_mirror&) = delete;

    void draw() override;
    void draw_selection() override;
    // Every vertex as a point: with the attributes of draw(); or with 0 Position, 1 Color, 2 PointSize, which
    // shows marked ones larger. The first returns their number.
    std::uint64_t draw_surface_points();
    void draw_points();
    void draw_feedback_points() override;
    std::uint64_t feedback_vertex_count() override { return surface_.vertex_count(); }
    render::feedbackbuffer& feedback_buffer() override;
    render::array_buffer_t& frame_array() override;
    // Copies the frames that the GL computed in frame_array() into the surface's normals().
    void fetch_frames();

    // Frees the GL's copies; the next draw makes them again.
    void release();

private:
    struct copies_t;

    copies_t& copies(); // of the surface's present size
    copies_t& refresh(std::initializer_list<polygon_t::array> needed);
    void draw_indices(bool selected_only);

    polygon_t& surface_;
    std::unique_ptr<copies_t> copies_;
};

// Frames of the renderer's feedback pass, which must be initialised and outlive the result. They agree with
// those of the CPU to rounding. Without a context: on the CPU.
frame_update renderer_frames(render::glpolygon_t& renderer);

} // namespace pmt3d
