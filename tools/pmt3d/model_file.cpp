#include "model_file.h"

#include "libutils/report.h"

#include <algorithm>

namespace tool {

static std::uint64_t allowed_vertices = 0;

void allow_vertices(std::uint64_t vertices) {
    allowed_vertices = vertices;
}

bool load_model(pmt3d::model_t& model, const char* name, const pmt3d::progress_t& progress,
                const pmt3d::frame_update& frames) {
    if (!pmt3d::load(model, name, {std::cerr, frames, progress, allowed_vertices}))
        return libutils::report("pmt3d: ", name, ": not loaded.");
    // Perhaps no STL file at all, or one that has been cut short.
    if (std::string_view(name).ends_with(".stl") && model.items.back().polygon.element_count() == 0)
        libutils::report("pmt3d: warning: ", name, " has no facet.");
    return true;
}

std::optional<render::box3> bounds(const pmt3d::model_t& model) {
    std::optional<render::box3> box;
    for (const pmt3d::model_item_t& item : model.items) {
        const auto elements = item.polygon.getelements();
        const std::uint64_t vertices = item.polygon.vertex_count();
        if (std::none_of(elements.begin(), elements.end(), [=](pmt3d::element_t e) { return e < vertices; }))
            continue;
        render::pos3 min, max;
        item.polygon.getbound(min, max);
        if (!box) box = {min, max};
        box->min = {std::min(box->min.x, min.x), std::min(box->min.y, min.y), std::min(box->min.z, min.z)};
        box->max = {std::max(box->max.x, max.x), std::max(box->max.y, max.y), std::max(box->max.z, max.z)};
    }
    return box;
}

} // namespace tool
