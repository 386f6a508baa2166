#pragma once
// Triangles in STL files, binary (little-endian) and text.

#include "pmt3d/format/line_reader.h"
#include "pmt3d/format/line_writer.h"
#include "pmt3d/format/load_context.h"
#include "pmt3d/format/model.h"

#include <string>

namespace pmt3d {

// Reads the triangles of a file into a new polygon item at the end of the list. Each gets three vertices and
// a frame of its own, the normals of the file are not used; colour and texture coordinate are the defaults.
// Several solids in a text file become one item.
//
// A file that begins with "solid" is text, unless it is as long as a binary file of its triangle count, or
// longer without the word "facet". Text without a facet is no failure. False, after one line on
// context.error, when it cannot be read, is shorter than its triangle count says, or a facet lacks a piece
// ("num: " and the line's number). The item then stays in the list with what was read.
bool load_stl(surface_list& items, const std::string& name, const load_context& context);

// The same from the beginning of a reader.
bool read_stl(surface_list& items, const std::string& name, line_reader& in, const load_context& context);

// Saves the triangles of all items in order. The binary header holds the file's name (80 bytes; a blank is
// put in front of a name that begins like a text file). A save that fails leaves the old file, and one line
// on standard error.
bool save_stl(const surface_list& items, const std::string& name, const progress_t& progress = {});
bool save_stl(const model_item_t& item, const std::string& name, const progress_t& progress = {});
bool save_stl_text(const surface_list& items, const std::string& name, const progress_t& progress = {});

// The same files, passed on in pieces. False once the sink fails.
bool write_stl(const surface_list& items, const std::string& name, const byte_sink& sink,
               const progress_t& progress = {});
bool write_stl_text(const surface_list& items, const std::string& name, const byte_sink& sink,
                    const progress_t& progress = {});

} // namespace pmt3d
