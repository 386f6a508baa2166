#pragma once
// Triangles that share vertices: what lies between a file's shape and the strips of a surface.

#include "pmt3d/format/progress.h"
#include "pmt3d/surface/polygon.h"
#include "pmt3d/surface/stripping.h"

#include <vector>

namespace tool {

struct triangle_mesh {
    std::vector<pmt3d::vertex_t> vertices;
    std::vector<pmt3d::frame_t> frames;     // one for each vertex; zeros in a frame are what is not known yet
    std::vector<pmt3d::triangle> triangles; // counter-clockwise, every index below vertices.size()
};

// The surface's vertices, frames and triangles, also the vertices that no triangle names.
triangle_mesh triangles_of(const pmt3d::polygon_t& surface);

// Makes vertices one that are equal in position, colour and texture coordinate, and gives them normals. An
// edge stays sharp where its two triangles meet at more than `degrees`: 0 gives flat triangles, 180 sharpens
// nothing. Round a vertex, the triangles between sharp edges share a normal: the sum of theirs, each weighted
// with its angle there (G. Thürmer and C. A. Wüthrich, "Computing Vertex Normals from Polygonal Facets",
// Journal of Graphics Tools 3(1), 1998). Normals go on across the seams of a texture. An edge is sharp too
// where triangles wind against one another. Triangles with two corners in one place are left out, and
// vertices that no triangle names. All tangents and binormals are zero afterwards.
void weld_and_smooth(triangle_mesh& mesh, float degrees);
// Gives a tangent and a binormal to the frames that have a normal but no tangent: along growing s and t of
// the texture coordinates, at right angles; without any, at right angles to the normal. Where the texture is
// mirrored at a vertex, the vertex is doubled. Frames without a normal are left to
// polygon_t::rebuildpolyids().
void complete_frames(triangle_mesh& mesh);

// Makes it the surface's contents, as strips, and numbers the polygon ids; the name stays. False, after
// one line on standard error, when there is no room.
bool fill(pmt3d::polygon_t& surface, triangle_mesh&& mesh);

// weld_and_smooth(), complete_frames() and fill() for a surface as it is, with little more memory than that.
bool smooth(pmt3d::polygon_t& surface, float degrees, const pmt3d::progress_t& progress = {});

} // namespace tool
