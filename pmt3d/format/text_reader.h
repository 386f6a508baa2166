#pragma once
// Reads the blocks of the model text format.

#include "pmt3d/format/line_reader.h"
#include "pmt3d/format/model.h"
#include "pmt3d/surface/frames.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace pmt3d {

class load_observer;
class vertex_limit;

// What the first line of each kind of block begins with.
inline constexpr std::string_view polygon_header = "begin polygon_surface";
inline constexpr std::string_view nurbs_header = "begin nurbs_surface";
inline constexpr std::string_view environment_header = "begin environment";

// Every block reader is called with the block's header as the current line of `in`, and leaves `in` at the
// line that ends the block or at which it gave up. name: the file, which becomes the surface's name.
// Diagnostics are lines on `error`, most with the line's number in front; of a long line they repeat the
// beginning. What was read before a failure stays.
//
// Counts in a header are believed as far as the file could hold them: a count of more than 65536 that the
// bytes left cannot be enough for fails like an allocation.

// Reads the blocks of a file. Calls `read_block` at every line that may begin one; it returns whether it
// could read the block, or nothing where none begins. Such a line is reported unless it is blank or a
// comment. The number of blocks; 0 when one could not be read.
std::uint64_t read_blocks(line_reader& in, std::ostream& error,
                          const std::function<std::optional<bool>()>& read_block,
                          load_observer* observer = nullptr);

// A complete surface: false when its header is wrong, when it is not ended by "end", or when it lacks
// vertices, elements or frames. On success its polygon ids are built.
bool read_polygon_block(const std::string& name, libgr::texture_options& texture, polygon_t& polygon,
                        line_reader& in, std::ostream& error, load_observer* observer = nullptr);

// A surface and its tessellation. False when its header is wrong, when it has more knots, weights or points
// than it announced or, ended by "end", fewer, or when it cannot be tessellated within the limit. frames: how
// its frames are computed; empty: on the CPU. number: of the surface in its file, from 1.
bool read_nurbs_block(const std::string& name, nurbs_t& nurbs, libgr::texture_options& texture,
                      polygon_t& polygon, const frame_update& frames, std::uint64_t number,
                      vertex_limit& limit, line_reader& in, std::ostream& error,
                      load_observer* observer = nullptr);

// The kind of surface whose block a line begins; nothing for other lines.
std::optional<model_item_t::kind_t> surface_kind(std::string_view line);
// The block of a surface of the item's kind.
bool read_surface_block(const std::string& name, model_item_t& item, std::uint64_t number,
                        const frame_update& frames, vertex_limit& limit, line_reader& in, std::ostream& error,
                        load_observer* observer = nullptr);

// False when it is another block.
bool read_environment_block(libgr::environment_options& environment, line_reader& in, std::ostream& error,
                            load_observer* observer = nullptr);

} // namespace pmt3d
