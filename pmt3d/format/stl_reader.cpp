#include "pmt3d/format/stl.h"

#include "libutils/error_report.h"
#include "pmt3d/format/fields.h"
#include "pmt3d/format/line_reader.h"
#include "pmt3d/format/stl_form.h"
#include "render/math/operations.h"

#include <cstring>
#include <iostream>

namespace pmt3d {

namespace {

constexpr std::string_view facet_key = "facet normal ", loop_key = "outer loop", vertex_key = "vertex ";

bool fail(std::ostream& error, const std::string& name, const char* why) {
    libutils::error_report();
    error << name << why << '\n';
    return false;
}

// Fills a polygon surface triangle by triangle.
class triangle_filler {
public:
    explicit triangle_filler(polygon_t& polygon) : polygon_(polygon) {}

    bool allocate(std::uint64_t triangles) {
        if (!polygon_.allocate(3 * triangles, 4 * triangles)) return false;
        vertex_ = polygon_.edit_vertices().data();
        frame_ = polygon_.edit_normals().data();
        element_ = polygon_.edit_elements().data();
        return true;
    }

    void add(const render::pos3 (&corners)[3]) {
        const render::dir3 e1 = render::normalise(corners[1] - corners[0]);
        const render::dir3 e2 = render::normalise(corners[2] - corners[0]);
        const render::dir3 normal = render::normalise(render::cross(e1, e2));
        const frame_t frame = {e2, render::cross(e2, normal), normal};
        for (const render::pos3& corner : corners) {
            *vertex_++ = {corner, {0.5f, 0.5f, 0.5f, 1.0f}, {0.0f, 0.0f}};
            *frame_++ = frame;
            *element_++ = next_++;
        }
        *element_++ = strip_end;
    }

private:
    polygon_t& polygon_;
    vertex_t* vertex_ = nullptr;
    frame_t* frame_ = nullptr;
    element_t* element_ = nullptr;
    element_t next_ = 0;
};

bool read_binary(polygon_t& polygon, std::string_view bytes, const std::string& name,
                 const load_context& context) {
    if (bytes.size() < stl_prefix) return fail(context.error, name, ": file is too short.");
    const std::uint64_t triangles = stl_triangle_count(bytes);
    if ((bytes.size() - stl_prefix) / stl_record < triangles)
        return fail(context.error, name, ": file is too short for its triangles.");
    triangle_filler filler(polygon);
    if (!filler.allocate(triangles)) return false;
    const char* record = bytes.data() + stl_prefix;
    for (std::uint64_t t = 0; t < triangles; ++t, record += stl_record) {
        render::pos3 corners[3];
        std::memcpy(corners, record + sizeof(render::dir3), sizeof corners);
        filler.add(corners);
        if (context.progress && t % 65536 == 0) context.progress(t, triangles);
    }
    return true;
}

// The text without what may stand behind a line.
std::string_view trimmed(std::string_view line) {
    constexpr std::string_view space("  \t\r\n\0", 6);
    const std::size_t last = line.find_last_not_of(space);
    return last == line.npos ? std::string_view() : line.substr(0, last + 1);
}

class text_stl {
public:
    text_stl(line_reader& in, std::ostream& error) : in_(in), error_(error) {}

    std::uint64_t count() {
        std::uint64_t facets = 0;
        while (in_.next())
            facets += in_.line().find(facet_key) != std::string_view::npos;
        in_.restart();
        return facets;
    }

    bool read_facet(triangle_filler& filler) {
        if (!find(facet_key) || !find(loop_key)) return fail_here();
        render::pos3 corners[3];
        for (render::pos3& corner : corners)
            if (!in_.next() || !read_vertex(corner)) return fail_here();
        // Where a binary record has its attribute word; all that it does here is to shorten the line
        // "endloop".
        in_.skip(2);
        filler.add(corners);
        return true;
    }

private:
    // Goes on to the line that holds the key.
    bool find(std::string_view key) {
        while (in_.next())
            if (trimmed(in_.line()).find(key) != std::string_view::npos) return true;
        return false;
    }

    bool read_vertex(render::pos3& corner) {
        const std::string_view line = trimmed(in_.line());
        const std::size_t at = line.find(vertex_key);
        if (at == line.npos) return false;
        bool ok = true;
        field_reader fields(line.substr(at + vertex_key.size()));
        corner = {fields.decimal(&ok), fields.decimal(&ok), fields.decimal(&ok)};
        return ok;
    }

    bool fail_here() {
        libutils::error_report();
        error_ << "num: " << in_.number() << '\n';
        return false;
    }

    line_reader& in_;
    std::ostream& error_;
};

bool read_text(polygon_t& polygon, line_reader& in, const load_context& context) {
    text_stl text(in, context.error);
    const std::uint64_t facets = text.count();
    triangle_filler filler(polygon);
    if (!filler.allocate(facets)) return false;
    in.set_progress(context.progress);
    for (std::uint64_t facet = 0; facet < facets; ++facet)
        if (!text.read_facet(filler)) return false;
    return true;
}

} // namespace

bool load_stl(surface_list& items, const std::string& name, const load_context& context) {
    line_reader in;
    if (!in.open(name)) return fail(context.error, name, ": file open error.");
    const std::string_view bytes = in.text();
    if (bytes.size() < stl_text_start.size()) return fail(context.error, name, ": file is too short.");
    model_item_t& item = items.emplace_back();
    const bool done = is_text_stl(bytes) ? read_text(item.polygon, in, context)
                                         : read_binary(item.polygon, bytes, name, context);
    if (!done) return false;
    item.texture.open(name);
    item.polygon.rebuildpolyids(name);
    return true;
}

} // namespace pmt3d
