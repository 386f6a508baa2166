#pragma once
// Shared by the subcommands that read model files.

#include "pmt3d/format/dispatch.h"
#include "pmt3d/mirror/open_pictures.h"
#include "render/math/types.h"
#include "subcommand.h"
#include "tools/pmt3d/import/made_pictures.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tool {

// A row for the table of options.
inline constexpr option from_option = {
    "--from", "pmt|stl",
    "what is read (what the name's ending says, for -, standard input, what "
    "it begins with)"};

// By the name's ending in any case, unlike the library's own rule. Nothing for other names.
std::optional<pmt3d::file_format> format_of_model(const std::string& name);

// A model file with its pictures.
struct model_file {
    model_file() = default;
    explicit model_file(const command_line& line); // with what the options say

    pmt3d::model_t model;
    pmt3d::open_pictures pictures;
    std::optional<pmt3d::file_format> format; // whatever the name
    pmt3d::load_observer* observer = nullptr; // is told what is wrong in the file, instead of standard error
    pmt3d::picture_opener* opener = &pictures;
    // Those that a file of another program's format needs, as long as its surfaces name them.
    std::shared_ptr<made_pictures> made = std::make_shared<made_pictures>();

    // Loads it, with a bar where that takes long, and with frames computed on the CPU; diagnostics on
    // standard error. False when it fails, always with a line that says so unless there is an observer. A
    // picture of a surface that cannot be had is reported and left out. An STL file without a facet is a
    // warning. "-" is standard input.
    bool load(const char* name, const pmt3d::frame_update& frames = {});
};

// Lets the files that are loaded from now on have so many vertices of NURBS surfaces.
void allow_vertices(std::uint64_t vertices);
std::uint64_t allowed_vertices(); // 0 unless that was called

// The bounds of all surfaces that have something to draw; nothing when there are none.
std::optional<render::box3> bounds(const pmt3d::model_t& model);

} // namespace tool
