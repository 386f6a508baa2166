#include "model_output.h"

#include "libutils/report.h"
#include "model_file.h"
#include "pmt3d/format/stl.h"
#include "progress_bar.h"
#include "standard_streams.h"

#include <iostream>

namespace tool {

using libutils::report;
using pmt3d::file_format;

std::optional<model_output> output_of(const char* name, const command_line& line, std::string& complaint) {
    const bool is_stream = name == standard_stream;
    std::optional<file_format> format = format_of_model(name);
    if (const char* const to = line.value("--to")) format = *to == 's' ? file_format::stl : file_format::text;
    if (!format) {
        complaint = is_stream ? "what is written to standard output is for --to to say."
                              : "OUT ends in .pmt or .stl, or --to says what it is.";
        return {};
    }
    const bool as_text = line.has("--text");
    if (as_text && format != file_format::stl) {
        complaint = "--text is for STL, an OUT that ends in .stl.";
        return {};
    }
    return model_output{name, *format, as_text};
}

namespace {

// What a .pmt file has no place for.
bool take_out_empty_surfaces(pmt3d::model_t& model, const std::string& name) {
    std::uint64_t number = 0;
    std::erase_if(model.items, [&](const pmt3d::model_item_t& item) {
        ++number;
        const bool nurbs = item.kind == pmt3d::model_item_t::kind_t::nurbs;
        if (nurbs ? !item.nurbs.points().empty() : item.polygon.vertex_count() > 0) return false;
        report("pmt3d: surface ", number, " has no vertex and is left out of ", name, '.');
        return true;
    });
    return !model.items.empty() || !model.environment.cubetex.empty() ||
           report("pmt3d: ", name, ": there is nothing to write.");
}

bool has_triangles(const pmt3d::model_t& model) {
    for (const pmt3d::model_item_t& item : model.items) {
        bool any = false;
        pmt3d::for_each_triangle(item.polygon.getelements(), item.polygon.vertex_count(),
                                 [&](auto, auto, auto, auto, auto) { any = true; });
        if (any) return true;
    }
    return false;
}

bool write(pmt3d::model_t& model, const model_output& output, const pmt3d::progress_t& progress) {
    if (output.name != standard_stream)
        return output.as_text ? pmt3d::save_stl_text(model.items, output.name, progress)
                              : pmt3d::save_as(model, output.format, output.name, progress);
    make_standard_output_binary();
    const pmt3d::byte_sink sink = [](std::string_view bytes) {
        return bool(std::cout.write(bytes.data(), std::streamsize(bytes.size())));
    };
    return output.as_text ? pmt3d::write_stl_text(model.items, output.name, sink, progress)
                          : pmt3d::write_as(model, output.format, output.name, sink, progress);
}

} // namespace

bool save_model(pmt3d::model_t& model, const model_output& output) {
    if (output.format == file_format::text) {
        if (!take_out_empty_surfaces(model, output.name)) return false;
    } else if (!has_triangles(model))
        report("pmt3d: warning: ", output.name, " gets no facet.");
    progress_bar bar("writing", output.name);
    return write(model, output, bar.callback());
}

} // namespace tool
