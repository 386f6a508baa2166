#pragma once
// Where a subcommand writes its model.

#include "pmt3d/format/dispatch.h"
#include "subcommand.h"

#include <optional>
#include <string>

namespace tool {

struct model_output {
    std::string name; // "-" is standard output
    pmt3d::file_format format = pmt3d::file_format::text;
    bool as_text = false; // STL: text instead of binary
};

// Rows for the table of options.
inline constexpr option to_option = {
    "--to", "pmt|stl", "what to write (what OUT's ending says; needed where OUT is -, standard output)"};
inline constexpr option text_option = {"--text", "", "write STL as text instead of binary"};

// What the line wants to be written under this name. Nothing, with a sentence in `complaint`, when it is not
// clear what, so that this can be known before anything is read.
std::optional<model_output> output_of(const char* name, const command_line& line, std::string& complaint);

// Writes it. Surfaces without a vertex, which .pmt files cannot hold, are taken out of the model and a line
// on standard error says so; a model of which nothing would be left is not written. False, reported, when it
// could not be.
bool save_model(pmt3d::model_t& model, const model_output& output);

} // namespace tool
