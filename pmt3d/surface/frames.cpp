#include "pmt3d/surface/frames.h"

#include "render/math/operations.h"

namespace pmt3d {

void average_frames(std::span<const differences_t> steps, std::span<frame_t> frames) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const differences_t& s = steps[i];
        frame_t& f = frames[i];
        f.normal = render::normalise(render::cross(s.forward_u, s.forward_v) +
                                     render::cross(s.backward_u, s.backward_v));
        f.tangent = render::normalise(s.forward_u + s.backward_u);
        f.binormal = render::cross(f.normal, f.tangent);
    }
}

void average_frames(polygon_t& surface) {
    average_frames(surface.wknmls(), surface.edit_normals());
}

} // namespace pmt3d
