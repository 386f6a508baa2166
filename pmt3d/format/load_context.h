#pragma once
// What a load needs of its caller.

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
    std::uint64_t allowed_vertices = 0; // of NURBS surfaces, where a file asks for more than vertex_limit.h
    picture_opener* pictures = nullptr; // null: pictures are not looked at
};

} // namespace pmt3d
