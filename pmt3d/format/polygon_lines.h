#pragma once
// Reads the lines that fill a large polygon block on several threads.

#include "libutils/parallel.h"
#include "pmt3d/format/line_reader.h"
#include "pmt3d/surface/vertex.h"

#include <cstdint>
#include <span>

namespace pmt3d {

// A polygon block while it is read.
struct polygon_progress {
    std::span<vertex_t> vertices;
    std::span<frame_t> frames;
    std::span<std::uint32_t> elements;
    // How many have been read.
    std::uint64_t vertex_count = 0, element_count = 0;
    std::uint64_t tangent_count = 0, binormal_count = 0, normal_count = 0;
    // For the next vertices.
    render::col3a color;
    render::txc2 texcoord{};
};

// Reads lines behind the current one as long as they are plain: colours, vertices, elements and frames,
// written without expressions, that have room and that nobody has to be told of; is_observed: what an
// observer would be told counts. All threads take pieces of the text in turn; memory is a few pieces a
// thread. Returns how many pieces were plain to their ends.
std::uint64_t read_plain_lines(line_reader& in, polygon_progress& block, const libutils::sharing& how,
                               bool is_observed);

} // namespace pmt3d
