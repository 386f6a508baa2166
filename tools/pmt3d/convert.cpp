// pmt3d convert IN OUT: from one model format to another.

#include "model_file.h"
#include "pmt3d/format/stl.h"
#include "progress_bar.h"
#include "subcommand.h"

#include <iostream>
#include <string>
#include <vector>

namespace tool {

namespace {

int run(arguments words) {
    bool text = false;
    std::vector<std::string> names;
    for (const std::string_view word : words) {
        if (word == "--text")
            text = true;
        else if (word.starts_with("--"))
            return usage_error(convert, "there is no option " + std::string(word) + ".");
        else
            names.emplace_back(word);
    }
    if (names.size() != 2) return usage_error(convert, "exactly two files, IN and OUT, are needed.");
    if (text && !names[1].ends_with(".stl"))
        return usage_error(convert, "--text is for an OUT that ends in .stl.");

    pmt3d::model_t model;
    {
        progress_bar bar("reading", names[0]);
        if (!load_model(model, names[0].c_str(), bar.callback())) return failure;
    }
    progress_bar bar("writing", names[1]);
    const bool saved = text ? pmt3d::save_stl_text(model.items, names[1], bar.callback())
                            : pmt3d::save(model, names[1], bar.callback());
    return saved ? success : failure;
}

} // namespace

const subcommand convert = {
    "convert",
    "[--text] IN OUT",
    "convert between .pmt and .stl",
    "The ends of the names decide. STL files hold triangles only: NURBS surfaces are tessellated, colours, "
    "pictures, frames\n"
    "and the environment are left out. They are written in binary form, or as text with --text; both forms "
    "are read.\n"
    "OUT is replaced only when all of it could be written.\n",
    run,
};

} // namespace tool
