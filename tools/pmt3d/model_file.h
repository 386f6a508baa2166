#pragma once
// Shared by the subcommands that read model files.

#include "pmt3d/format/dispatch.h"
#include "pmt3d/mirror/open_pictures.h"
#include "render/math/types.h"

#include <cstdint>
#include <optional>

namespace tool {

// A model file with its pictures.
struct model_file {
    pmt3d::model_t model;
    pmt3d::open_pictures pictures;

    // Loads it with frames computed on the CPU, diagnostics on standard error. False when it fails, always
    // with a line that says so. A picture of a surface that cannot be had is reported and left out. An STL
    // file without a facet is a warning.
    bool load(const char* name, const pmt3d::progress_t& progress = {},
              const pmt3d::frame_update& frames = {});
};

// Lets the files that are loaded from now on have so many vertices of NURBS surfaces.
void allow_vertices(std::uint64_t vertices);

// The bounds of all surfaces that have something to draw; nothing when there are none.
std::optional<render::box3> bounds(const pmt3d::model_t& model);

} // namespace tool
