#include "model_file.h"

#include "libutils/report.h"
#include "render/math/operations.h"

#include <string_view>

namespace tool {

static std::uint64_t allowed_vertices = 0;

void allow_vertices(std::uint64_t vertices) {
    allowed_vertices = vertices;
}

bool model_file::load(const char* name, const pmt3d::progress_t& progress,
                      const pmt3d::frame_update& frames) {
    if (!pmt3d::load(model, name, {std::cerr, frames, progress, allowed_vertices, &pictures}))
        return libutils::report("pmt3d: ", name, ": not loaded.");
    // Perhaps no STL file at all, or one that has been cut short.
    if (std::string_view(name).ends_with(".stl") && model.items.back().polygon.element_count() == 0)
        libutils::report("pmt3d: warning: ", name, " has no facet.");
    return true;
}

std::optional<render::box3> bounds(const pmt3d::model_t& model) {
    std::optional<render::box3> box;
    for (const pmt3d::model_item_t& item : model.items)
        render::enclose(box, item.polygon.bounds());
    return box;
}

} // namespace tool
