// pmt3d info FILE: summarises a model file.

#include "libutils/number.h"
#include "model_file.h"
#include "subcommand.h"

#include <iostream>
#include <utility>

namespace tool {

namespace {

using pmt3d::model_item_t;

std::uint64_t triangle_count(const pmt3d::polygon_t& polygon) {
    std::uint64_t count = 0;
    pmt3d::for_each_triangle(polygon.getelements(), polygon.vertex_count(),
                             [&](std::uint64_t, bool, auto, auto, auto) { ++count; });
    return count;
}

void print_bounds(const pmt3d::model_t& model) {
    const std::optional<render::box3> box = bounds(model);
    std::cout << "bounds:";
    if (!box)
        std::cout << " none";
    else
        for (const float f : {box->min.x, box->min.y, box->min.z, box->max.x, box->max.y, box->max.z})
            std::cout << ' ' << libutils::float_text(f, 9);
    std::cout << '\n';
}

void print_item(const model_item_t& item, std::size_t number) {
    const bool nurbs = item.kind == model_item_t::kind_t::nurbs;
    std::cout << "item " << number << ":\n  kind: " << (nurbs ? "nurbs" : "polygon")
              << "\n  name: " << item.polygon.name() << "\n  vertices: " << item.polygon.vertex_count()
              << "\n  elements: " << item.polygon.element_count() << '\n';
    if (nurbs)
        std::cout << "  net: " << item.nurbs.m() << " points of order " << item.nurbs.k1() << " by "
                  << item.nurbs.n() << " of order " << item.nurbs.k2() << ", resolution "
                  << item.nurbs.resolution_u() << " by " << item.nurbs.resolution_v() << '\n';
    const std::pair<const char*, const std::string&> pictures[] = {{"texture", item.texture.texture},
                                                                   {"bumpmap", item.texture.bumpmap},
                                                                   {"specular", item.texture.specular}};
    for (const auto& [key, path] : pictures)
        if (!path.empty()) std::cout << "  " << key << ": " << path << '\n';
}

constexpr option options[] = {from_option};

int run(const command_line& line) {
    if (line.operands.size() != 1) return usage_error(info, "exactly one FILE is needed.");
    model_file file(line);
    if (!file.load(line.operands[0])) return failure;
    const pmt3d::model_t& model = file.model;
    std::uint64_t triangles = 0;
    for (const model_item_t& item : model.items)
        triangles += triangle_count(item.polygon);
    std::cout << "items: " << model.items.size() << "\ntriangles: " << triangles << '\n';
    print_bounds(model);
    std::size_t number = 0;
    for (const model_item_t& item : model.items)
        print_item(item, ++number);
    return success;
}

} // namespace

const subcommand info = {
    "info",
    "FILE",
    "summarise a model file",
    options,
    R"(For the whole file: the number of items and triangles, and the bounds of all surfaces (minimum x y z, maximum x y z; "none"
without any). Then for each item its kind, name, vertices, elements and the pictures that it names. NURBS surfaces
are counted as they are tessellated. FILE ends in .pmt or .stl.
)",
    run,
};

} // namespace tool
