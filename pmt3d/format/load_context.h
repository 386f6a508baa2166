#pragma once
// What the caller of a load provides.

#include "pmt3d/format/load_observer.h"
#include "pmt3d/format/picture_opener.h"
#include "pmt3d/format/progress.h"
#include "pmt3d/surface/frames.h"

#include <cstdint>
#include <iosfwd>

namespace pmt3d {

struct load_context {
    std::ostream& error;   // diagnostics
    frame_update frames{}; // for NURBS surfaces; empty: on the CPU
    progress_t progress{};
    std::uint64_t allowed_vertices = 0; // of NURBS surfaces, if more than vertex_limit.h allows
    picture_opener* pictures = nullptr; // null: pictures are not opened
    load_observer* observer = nullptr;  // told what is left out
};

} // namespace pmt3d
