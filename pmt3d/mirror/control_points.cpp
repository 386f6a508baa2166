#include "pmt3d/mirror/control_points.h"

#include "render/gl/step_check.h"

namespace pmt3d {

static void upload(render::array_buffer_t& to, const render::layout_ref& layout, const float* data,
                   std::uint64_t count) {
    if (to.allocate(count, layout)) to.upload_range(0, count, data);
}

void control_points_mirror::draw_points() {
    using enum render::attribute;
    static const render::layout_ref point_layout = render::make_layout({position, rgba});
    static const render::layout_ref mark_layout = render::make_layout({point_size});
    const const_array_view points = surface_.getarray(0);
    if (!render::has_context() || points.count == 0) return;
    if (seen_points_ != surface_.points_revision()) upload(points_, point_layout, points.data, points.count);
    if (seen_marks_ != surface_.marks_revision())
        upload(marks_, mark_layout, surface_.mark_sizes().data(), points.count);
    seen_points_ = surface_.points_revision();
    seen_marks_ = surface_.marks_revision();
    if (layout_.id() == render::no_object) {
        layout_.create();
        points_.bind_layout_to(layout_, 0);
        marks_.bind_layout_to(layout_, 2);
    }
    layout_.draw_arrays(render::primitive::points, points.count);
}

} // namespace pmt3d
