// pmt3d info FILE: summarises a model file.

#include "libutils/number.h"
#include "mesh_figures.h"
#include "model_file.h"
#include "progress_bar.h"
#include "subcommand.h"

#include <iostream>
#include <utility>
#include <vector>

namespace tool {

namespace {

using pmt3d::model_item_t;

void print(const mesh_figures& f, const char* indent) {
    std::cout << indent << "area: " << libutils::float_text(f.area, 9) << '\n'
              << indent << "volume: " << libutils::float_text(f.volume, 9) << '\n'
              << indent << "open edges: " << f.open_edges << '\n'
              << indent << "crowded edges: " << f.crowded_edges << '\n'
              << indent << "flipped triangles: " << f.flipped << '\n'
              << indent << "degenerate triangles: " << f.degenerate << '\n';
    if (f.not_finite) std::cout << indent << "triangles that are no numbers: " << f.not_finite << '\n';
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

void print_item(const model_item_t& item, std::size_t number, const mesh_figures& figures) {
    const bool nurbs = item.kind == model_item_t::kind_t::nurbs;
    std::cout << "item " << number << ":\n  kind: " << (nurbs ? "nurbs" : "polygon")
              << "\n  name: " << item.polygon.name() << "\n  vertices: " << item.polygon.vertex_count()
              << "\n  elements: " << item.polygon.element_count() << "\n  triangles: " << figures.triangles
              << '\n';
    print(figures, "  ");
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
    file.made->name_plainly(file.model);
    const pmt3d::model_t& model = file.model;
    std::vector<const pmt3d::polygon_t*> surfaces;
    for (const model_item_t& item : model.items)
        surfaces.push_back(&item.polygon);
    mesh_figures all;
    std::vector<mesh_figures> each;
    {
        const progress_bar bar("measuring", line.operands[0]);
        all = measure(surfaces);
        for (const pmt3d::polygon_t* const& surface : surfaces)
            each.push_back(surfaces.size() == 1 ? all : measure({&surface, 1}));
    }
    std::cout << "items: " << model.items.size() << "\ntriangles: " << all.triangles << '\n';
    print_bounds(model);
    print(all, "");
    std::size_t number = 0;
    for (const model_item_t& item : model.items) {
        print_item(item, number + 1, each[number]);
        ++number;
    }
    return success;
}

} // namespace

const subcommand info = {
    "info",
    "FILE",
    "summarise a model file",
    options,
    R"(For the whole file: the number of items and triangles, the bounds of all
surfaces (minimum x y z, maximum x y z; "none" without any), and these figures.
Then for each item its kind, name, vertices, elements, the same figures and the
pictures that it names. NURBS surfaces count as they are tessellated.

  area                  of all triangles, on one side
  volume                that they enclose, negative when they are seen from
                        inside. With open edges: the sum of the signed volumes
                        between each triangle and the first corner of all,
                        which depends on where that is
  open edges            that belong to one triangle only; a closed surface has
                        none
  crowded edges         that belong to more than two triangles
  flipped triangles     that wind against their neighbours: of those that hang
                        together by edges of two, the fewest that must be
                        turned over for all to agree
  degenerate triangles  with two corners in the same place; their edges do not
                        count

Corners in exactly the same place are one corner, whatever their colour, also of
different items for the figures of the whole file. Triangles whose corners are
no numbers are counted in a line of their own and nowhere else.
)",
    run,
};

} // namespace tool
