#pragma once
// Loading and saving models, in the format that the file's name ends with: ".pmt" the text format, ".stl"
// triangles.

#include "pmt3d/format/line_writer.h"
#include "pmt3d/format/load_context.h"
#include "pmt3d/format/model.h"
#include "pmt3d/format/progress.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace pmt3d {

// Loading appends to the model; what was read before a failure stays in it, the item that failed included.
// Saving replaces the file only when all of it could be written, and names the surfaces after the file.
// Failures are reported in one line.

enum class file_format { text, stl };

// By the end of the name, exactly ".stl" or ".pmt". Anything else is reported on standard error.
bool load(model_t& model, const std::string& name, const load_context& context);
bool save(model_t& model, const std::string& name, const progress_t& progress = {});
bool save(surface_list& items, const std::string& name, const progress_t& progress = {});
bool save(model_item_t& item, const std::string& name, const progress_t& progress = {});

// In this format, whatever the name. With `bytes`, these are the file, and the name is only what it is
// called.
bool load_as(model_t& model, file_format format, const std::string& name, const load_context& context);
bool load_as(model_t& model, file_format format, const std::string& name, std::string_view bytes,
             const load_context& context);
bool save_as(model_t& model, file_format format, const std::string& name, const progress_t& progress = {});
// Passes the file on in pieces instead of saving it. False when it could not be written, which is the
// sink's to report, or could not be read back.
bool write_as(model_t& model, file_format format, const std::string& name, const byte_sink& sink,
              const progress_t& progress = {});

// ---- The text format

// True when the file holds at least one block and every block could be read.
bool load_text(model_t& model, const std::string& name, const load_context& context);
// Surfaces only; an environment's lines are reported as unknown. The number of blocks, 0 when one failed.
std::uint64_t load_surface_list(surface_list& items, const std::string& name, const load_context& context);
bool save_text(model_t& model, const std::string& name, const progress_t& progress = {});
bool save_text(surface_list& items, const std::string& name, const progress_t& progress = {});
bool save_text(model_item_t& item, const std::string& name, const progress_t& progress = {});

} // namespace pmt3d
