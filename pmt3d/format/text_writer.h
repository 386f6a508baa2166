#pragma once
// Writes surfaces and environments in the model text format. text_reader.h reads them back exactly, except
// for colours (steps of 1/255) and floats (six significant digits).

#include "libgr/options/options.h"
#include "pmt3d/format/line_writer.h"

namespace pmt3d {

class nurbs_t;
class polygon_t;

// The surface writers write nothing and return false for a surface without vertices, or without a net.
// Infinite values and NaN, and picture names with a line end in them, are refused by the line writer.
void write_texture(const libgr::texture_options& texture, line_writer& out);
bool write_polygon(const libgr::texture_options& texture, const polygon_t& polygon, line_writer& out);
bool write_nurbs(const libgr::texture_options& texture, const nurbs_t& nurbs, line_writer& out);
// Nothing without a cube map name; true in any case.
bool write_environment(const libgr::environment_options& environment, line_writer& out);

} // namespace pmt3d
