// pmt3d convert IN OUT: converts between the model formats.

#include "libgr/texture/texture_table.h"
#include "libutils/file_path.h"
#include "model_file.h"
#include "model_output.h"
#include "subcommand.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tool {

namespace {

namespace fs = std::filesystem;

// The folder that relative picture names of a model file start from.
fs::path folder_of(const std::string& model_file) {
    std::error_code error;
    const fs::path folder = libutils::file_path(model_file).parent_path();
    return fs::weakly_canonical(folder.empty() ? "." : folder, error);
}

// Changes relative picture names so that they are found from another folder.
void move_pictures(pmt3d::model_t& model, const fs::path& from, const fs::path& to) {
    if (from == to) return;
    const std::string model_file = libutils::file_name(from / "model");
    const auto move = [&](std::string& picture) {
        const std::string whole = libgr::picture_path(model_file, picture);
        if (picture.empty() || whole == picture) return; // none, or named absolutely
        std::error_code error;
        const fs::path path = libutils::file_path(whole);
        const fs::path target = fs::weakly_canonical(path.parent_path(), error) / path.filename();
        const fs::path relative = target.lexically_relative(to);
        picture = libutils::file_name(relative.empty() ? target : relative); // empty: on another drive
    };
    move(model.environment.cubetex);
    for (pmt3d::model_item_t& item : model.items)
        for (std::string* picture : {&item.texture.texture, &item.texture.bumpmap, &item.texture.specular})
            move(*picture);
}

constexpr option options[] = {
    from_option,
    to_option,
    text_option,
};

int run(const command_line& line) {
    const std::vector<std::string> names(line.operands.begin(), line.operands.end());
    if (names.size() != 2) return usage_error(convert, "exactly two files, IN and OUT, are needed.");
    std::string complaint;
    const std::optional<model_output> output = output_of(names[1].c_str(), line, complaint);
    if (!output) return usage_error(convert, complaint);

    model_file file(line);
    if (!file.load(names[0].c_str())) return failure;
    pmt3d::model_t& model = file.model;
    move_pictures(model, folder_of(names[0]), folder_of(names[1]));
    return save_model(model, *output) ? success : failure;
}

} // namespace

const subcommand convert = {
    "convert",
    "IN OUT",
    "convert between .pmt and .stl",
    options,
    R"(The ends of the names decide, in capitals as well. - is standard input or output. STL files hold triangles only: NURBS surfaces are tessellated, colours, pictures, frames
and the environment are left out. They are written in binary form, or as text with --text. Both forms are read: a file
that begins with "solid" is text, unless it is as long as a binary file of its triangle count, or longer without the
word "facet". Pictures are not copied: their relative names are changed so that the new file finds them.
OUT is replaced only when all of it could be written.
)",
    run,
};

} // namespace tool
