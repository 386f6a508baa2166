// pmt3d check FILE...: checks model files.

#include "model_file.h"
#include "subcommand.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace tool {

namespace {

// Loading reports pictures that cannot be loaded, but continues.
bool has_pictures(const libgr::texture_t& texture) {
    const std::pair<const std::string&, render::texture_unit> pictures[] = {
        {texture.texture, render::texture_unit::color},
        {texture.bumpmap, render::texture_unit::bump},
        {texture.specular, render::texture_unit::specular}};
    return std::all_of(std::begin(pictures), std::end(pictures),
                       [&](const auto& p) { return p.first.empty() || texture.record(p.second); });
}

bool is_in_order(const char* name) {
    model_file file;
    return file.load(name) &&
           std::all_of(file.pictures.surfaces.begin(), file.pictures.surfaces.end(), has_pictures);
}

int run(const command_line& line) {
    if (line.operands.empty()) return usage_error(check, "at least one FILE is needed.");
    int code = success;
    for (const char* name : line.operands)
        if (!is_in_order(name)) code = failure;
    return code;
}

} // namespace

const subcommand check = {
    "check",
    "FILE...",
    "load model files and report what is wrong with them",
    {},
    R"(Prints only diagnostics, on standard error. The exit status is 1 when a file, or
a picture that one of its surfaces names, cannot be loaded. Needs no display.
)",
    run,
};

} // namespace tool
