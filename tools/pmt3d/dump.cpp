// pmt3d dump FILE: a model file as JSON.

#include "json.h"
#include "model_file.h"
#include "progress_bar.h"
#include "subcommand.h"

#include <iostream>
#include <optional>

namespace tool {

namespace {

using pmt3d::model_item_t;

// The floats of a record.
template <class Record>
std::span<const float> floats(const Record& record) {
    return {reinterpret_cast<const float*>(&record), sizeof record / sizeof(float)};
}

void write(json_writer& out, std::span<const float> values) {
    out.begin_array();
    for (const float value : values)
        out.number(value);
    out.end_array();
}

template <class Record>
void write_records(json_writer& out, const char* key, std::span<const Record> records) {
    out.key(key).begin_array();
    for (const Record& record : records)
        write(out, floats(record));
    out.end_array();
}

// A flat table row by row.
void write_rows(json_writer& out, const char* key, std::span<const float> table, std::uint64_t columns) {
    out.key(key).begin_array();
    for (std::uint64_t at = 0; at < table.size(); at += columns)
        write(out, table.subspan(at, columns));
    out.end_array();
}

void write(json_writer& out, const libgr::texture_options& texture) {
    out.begin_object();
    out.key("texture").string(texture.texture);
    out.key("bumpmap").string(texture.bumpmap);
    out.key("specular").string(texture.specular);
    out.key("aniso").number(texture.aniso);
    out.key("refractfactor").number(texture.refractfactor);
    out.key("bumpofs").boolean(texture.bumpofs);
    out.key("bump2mono").boolean(texture.bump2mono);
    out.key("mipmap").boolean(texture.mipmap);
    out.key("nearlinear").boolean(texture.nearlinear);
    out.key("maglinear").boolean(texture.maglinear);
    out.key("mercatorsphere").boolean(texture.mercatorsphere);
    out.end_object();
}

void write(json_writer& out, const pmt3d::polygon_t& polygon) {
    out.begin_object();
    out.key("name").string(polygon.name());
    write_records(out, "vertices", polygon.vertices());
    write_records(out, "frames", polygon.normals());
    out.key("elements").begin_array();
    for (const pmt3d::element_t element : polygon.getelements())
        out.integer(element);
    out.end_array();
    out.end_object();
}

void write(json_writer& out, const pmt3d::nurbs_t& nurbs) {
    out.begin_object();
    out.key("name").string(nurbs.name());
    out.key("m").integer(nurbs.m());
    out.key("k1").integer(nurbs.k1());
    out.key("n").integer(nurbs.n());
    out.key("k2").integer(nurbs.k2());
    out.key("resolution").begin_array();
    out.integer(nurbs.resolution_u());
    out.integer(nurbs.resolution_v());
    out.end_array();
    write_rows(out, "knots1", nurbs.knots1(), nurbs.m() + nurbs.k1());
    write_rows(out, "knots2", nurbs.knots2(), nurbs.n() + nurbs.k2());
    write_rows(out, "weights", nurbs.weights(), nurbs.m());
    write_records(out, "points", nurbs.points());
    out.end_object();
}

void write(json_writer& out, const libgr::environment_options& environment) {
    out.begin_object();
    out.key("cubetex").string(environment.cubetex);
    out.key("reflectalpha").number(environment.reflectalpha);
    out.key("refractalpha").number(environment.refractalpha);
    out.key("refractfactor").number(environment.refractfactor);
    out.end_object();
}

constexpr option options[] = {from_option};

int run(const command_line& line) {
    if (line.operands.size() != 1) return usage_error(dump, "exactly one FILE is needed.");
    model_file file(line);
    if (!file.load(line.operands[0])) return failure;
    file.made->name_plainly(file.model);
    const pmt3d::model_t& model = file.model;
    std::optional<progress_bar> bar;
    if (!is_standard_output_watched()) bar.emplace("printing", line.operands[0]);
    json_writer out(std::cout);
    out.begin_object();
    out.key("items").begin_array();
    for (const model_item_t& item : model.items) {
        out.begin_object();
        out.key("kind").integer(std::uint64_t(item.kind));
        write(out.key("texture"), item.texture);
        write(out.key("polygon"), item.polygon);
        if (item.kind == model_item_t::kind_t::nurbs) write(out.key("nurbs"), item.nurbs);
        out.end_object();
    }
    out.end_array();
    write(out.key("environment"), model.environment);
    out.end_object();
    out.finish();
    return success;
}

} // namespace

const subcommand dump = {
    "dump",
    "FILE",
    "print a model file as JSON",
    options,
    R"(One line with everything that the model holds once it is loaded: for every item its kind (0 polygon, 1 NURBS), the
pictures and their options, vertices (x y z r g b a u v), frames (tangent, binormal, normal) and elements, and for
NURBS surfaces the net that these were made of; then the environment. Numbers have nine significant digits; those
that JSON cannot hold are the strings "nan", "inf" and "-inf".
)",
    run,
};

} // namespace tool
