#include "pmt3d/format/text_writer.h"

#include "pmt3d/surface/nurbs.h"
#include "pmt3d/surface/polygon.h"

#include <array>

namespace pmt3d {

namespace {

// A line whose value is the rest of it.
void write_path(std::string_view key, const std::string& path, line_writer& out) {
    out.text(key).text(" ").text(path);
    if (path.find('\n') != path.npos || path.ends_with('\r')) out.refuse();
    out.end_line();
}

void write_flag(std::string_view key, bool flag, line_writer& out) {
    out.text(key).text(flag ? " true" : " false").end_line();
}

std::uint8_t quantised(float channel) {
    if (!(channel < 1.0f)) return 255; // NaN as well
    return channel > 0.0f ? std::uint8_t(channel * 255.0f + 0.5f) : 0;
}

// Writes a colour line where the colour changes.
class color_writer {
public:
    void write(const render::col3a& color, line_writer& out) {
        const channels next = bytes(color);
        if (next == previous_) return;
        previous_ = next;
        out.text("color ").integer(next[0]);
        for (int i = 1; i < 4; ++i)
            out.text(",").integer(next[i]);
        out.end_line();
    }

private:
    using channels = std::array<std::uint8_t, 4>;
    static channels bytes(const render::col3a& c) {
        return {quantised(c.r), quantised(c.g), quantised(c.b), quantised(c.a)};
    }
    channels previous_ = bytes({0.5f, 0.5f, 0.5f, 1.0f}); // the reader begins with this colour
};

void write_direction(std::string_view key, const render::dir3& d, line_writer& out) {
    out.floats(key, d.x, d.y, d.z);
}

} // namespace

void write_texture(const libgr::texture_options& texture, line_writer& out) {
    out.floats("refractfactor", texture.refractfactor);
    if (!texture.texture.empty()) {
        write_path("texture", texture.texture, out);
        write_flag("mipmap", texture.mipmap, out);
        write_flag("nearlinear", texture.nearlinear, out);
        write_flag("maglinear", texture.maglinear, out);
        out.floats("aniso", texture.aniso);
    }
    if (!texture.bumpmap.empty()) {
        write_path("bumpmap", texture.bumpmap, out);
        write_flag("bumpofs", texture.bumpofs, out);
        write_flag("bump2mono", texture.bump2mono, out);
    }
    if (!texture.specular.empty()) write_path("specular", texture.specular, out);
    write_flag("mercatorsphere", texture.mercatorsphere, out);
}

bool write_polygon(const libgr::texture_options& texture, const polygon_t& polygon, line_writer& out) {
    if (polygon.vertex_count() == 0) return false;
    out.text("begin polygon_surface,")
        .integer(polygon.vertex_count())
        .text(",")
        .integer(polygon.element_count());
    out.end_line();
    write_texture(texture, out);
    color_writer colors;
    for (const vertex_t& vertex : polygon.vertices()) {
        colors.write(vertex.color, out);
        out.floats("texcoord", vertex.texcoord.s, vertex.texcoord.t);
        out.floats("position", vertex.position.x, vertex.position.y, vertex.position.z);
    }
    for (const element_t element : polygon.getelements()) {
        if (element == strip_end)
            out.text("element -1");
        else
            out.text("element ").integer(element);
        out.end_line();
    }
    for (const frame_t& frame : polygon.normals()) {
        write_direction("tangent", frame.tangent, out);
        write_direction("binormal", frame.binormal, out);
        write_direction("normal", frame.normal, out);
    }
    out.text("end").end_line();
    return out.good();
}

bool write_nurbs(const libgr::texture_options& texture, const nurbs_t& nurbs, line_writer& out) {
    const std::uint64_t m = nurbs.m(), k1 = nurbs.k1(), n = nurbs.n(), k2 = nurbs.k2();
    if (m == 0 || k1 == 0 || n == 0 || k2 == 0) return false;
    out.text("begin nurbs_surface,").integer(m).text(",").integer(k1);
    out.text(",").integer(n).text(",").integer(k2).end_line();
    out.text("resolution ").integer(nurbs.resolution_u()).text(",").integer(nurbs.resolution_v()).end_line();
    write_texture(texture, out);
    color_writer colors;
    for (std::uint64_t row = 0; row < n; ++row) {
        for (const float knot : nurbs.knots1().subspan(row * (m + k1), m + k1))
            out.floats("knot1", knot);
        for (const float weight : nurbs.weights().subspan(row * m, m))
            out.floats("weight", weight);
        for (const control_point_t& point : nurbs.points().subspan(row * m, m)) {
            colors.write(point.color, out);
            out.floats("position", point.position.x, point.position.y, point.position.z);
        }
    }
    out.end_line();
    for (const float knot : nurbs.knots2())
        out.floats("knot2", knot);
    out.text("end").end_line();
    return out.good();
}

bool write_environment(const libgr::environment_options& environment, line_writer& out) {
    if (environment.cubetex.empty()) return true;
    out.text("begin environment").end_line();
    write_path("cubetex", environment.cubetex, out);
    out.floats("reflectalpha", environment.reflectalpha);
    out.floats("refractalpha", environment.refractalpha);
    out.floats("refractfactor", environment.refractfactor);
    out.text("end").end_line();
    return true;
}

} // namespace pmt3d
