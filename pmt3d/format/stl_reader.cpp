#include "pmt3d/format/stl.h"

#include "libutils/number.h"
#include "libutils/report.h"
#include "pmt3d/format/facet_filler.h"
#include "pmt3d/format/fields.h"
#include "pmt3d/format/line_reader.h"
#include "pmt3d/format/stl_form.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

namespace pmt3d {

namespace {

constexpr std::string_view facet_key = "facet normal ", loop_key = "outer loop", vertex_key = "vertex ";

bool fail(std::ostream& error, const std::string& name, std::string_view why) {
    return libutils::report_to(error, name, why);
}

template <class... Parts>
void tell(load_observer* observer, const file_place& place, const Parts&... parts) {
    if (!observer) return;
    std::ostringstream text;
    (text << ... << parts);
    observer->left_out(place, text.view());
}

void check_finite(load_observer& observer, const file_place& place, const render::pos3 (&corners)[3]) {
    for (const render::pos3& c : corners)
        if (!(std::isfinite(c.x) && std::isfinite(c.y) && std::isfinite(c.z)))
            return observer.left_out(place, "a corner of the triangle is not finite");
}

bool read_binary(polygon_t& polygon, std::string_view bytes, const std::string& name,
                 const load_context& context) {
    load_observer* const observer = context.observer;
    if (bytes.size() < stl_prefix) {
        tell(observer, {}, "the file has ", bytes.size(), " bytes: binary STL has at least ", stl_prefix,
             ", and text begins with \"solid\"");
        return fail(context.error, name, ": file is too short.");
    }
    const std::uint64_t triangles = stl_triangle_count(bytes);
    const std::uint64_t there = (bytes.size() - stl_prefix) / stl_record;
    if (there < triangles) {
        tell(observer, {0, bytes.size(), there + 1}, "the file ends within this triangle, of ", triangles,
             " that are announced");
        return fail(context.error, name, ": file is too short for its triangles.");
    }
    facet_filler filler(polygon);
    if (!filler.allocate(triangles)) return false;
    const char* record = bytes.data() + stl_prefix;
    for (std::uint64_t t = 0; t < triangles; ++t, record += stl_record) {
        render::pos3 corners[3];
        std::memcpy(corners, record + sizeof(render::dir3), sizeof corners);
        filler.add(corners);
        if (observer) check_finite(*observer, {0, std::uint64_t(record - bytes.data()), t + 1}, corners);
        if (context.progress && t % 65536 == 0) context.progress(t, triangles);
    }
    if (const std::uint64_t used = stl_prefix + triangles * stl_record; used < bytes.size())
        tell(observer, {0, used, 0}, bytes.size() - used, " bytes behind the last of ", triangles,
             " triangles are left out");
    return true;
}

// Where the key begins in the line; npos when it is not there. What may stand behind a line (blanks, tabs,
// '\r', zeros) does not belong to it, so nothing is found of a key that ends with a blank at the end of a
// line.
template <const std::string_view& key>
std::size_t find_in(std::string_view line) {
    constexpr std::string_view space("  \t\r\0", 5);
    // Mostly it is the first word.
    std::size_t at = line.find_first_not_of(' ');
    if (at == line.npos) return at;
    if (!line.substr(at).starts_with(key)) at = line.find(key, at);
    if (at == line.npos || key.back() != ' ') return at;
    return line.find_first_not_of(space, at + key.size()) == line.npos ? line.npos : at;
}

class text_stl {
public:
    text_stl(line_reader& in, const load_context& context)
        : in_(in),
          error_(context.error),
          observer_(context.observer) {}

    // The lines with a facet's key.
    std::uint64_t count() const {
        constexpr char rare = 'm'; // no other word of a file has it
        constexpr std::size_t before = facet_key.find(rare);
        const std::string_view text = in_.text();
        std::uint64_t facets = 0;
        for (std::size_t at = before; (at = text.find(rare, at)) != text.npos; ++at) {
            if (!text.substr(at - before).starts_with(facet_key)) continue;
            ++facets;
            at = std::min(text.find('\n', at), text.size() - 1);
        }
        return facets;
    }

    bool read_facet(facet_filler& filler) {
        ++triangle_;
        if (!find<facet_key>()) return fail_here("its \"facet normal\" is missing");
        if (!find<loop_key>()) return fail_here("its \"outer loop\" is missing");
        render::pos3 corners[3];
        for (render::pos3& corner : corners)
            if (!read_plain_vertex(corner) && (!in_.next() || !read_vertex(corner)))
                return fail_here("its \"vertex\" " + std::to_string(&corner - corners + 1) +
                                 " of 3 is missing, or lacks a number");
        if (observer_) check_finite(*observer_, place(), corners);
        // Where a binary record has its attribute word; all that it does here is to shorten the line
        // "endloop".
        in_.skip(2);
        filler.add(corners);
        return true;
    }

    // Behind the last facet, for an observer.
    void check_rest() {
        while (in_.next())
            check_skipped();
        if (!ended_) observer_->left_out({in_.number()}, "the file ends without \"endsolid\"");
    }

private:
    // Goes on to the line that holds the key.
    template <const std::string_view& key>
    bool find() {
        while (in_.next()) {
            if (find_in<key>(in_.line()) != std::string_view::npos) return true;
            if (observer_) check_skipped();
        }
        return false;
    }

    // Tells of the current line unless it belongs to the form. The first two characters of "endloop" are
    // gone when nothing stands in front of it.
    void check_skipped() {
        std::string_view line = in_.line();
        if (in_.number() == 1 && line.starts_with(line_reader::byte_order_mark)) line.remove_prefix(3);
        const std::size_t begin = line.find_first_not_of(" \t\r");
        if (begin == line.npos) return;
        line.remove_prefix(begin);
        if (line.starts_with("endfacet") || line.starts_with("endloop") || line.starts_with("dloop")) return;
        const bool ends = line.starts_with("endsolid");
        if (ends || line.starts_with("solid")) {
            ended_ = ends;
            return;
        }
        if (line.ends_with('\r')) line.remove_suffix(1);
        tell(observer_, {in_.number()}, "unknown line: ", line.substr(0, 1000));
    }

    // The line as nearly all programs write it: blanks, the key, three numbers with one character behind
    // each. False, with nothing taken, for any other line.
    bool read_plain_vertex(render::pos3& corner) {
        const char* p = in_.ahead();
        if (!p) return false;
        while (*p == ' ')
            ++p;
        if (!in_.text().substr(std::size_t(p - in_.text().data())).starts_with(vertex_key)) return false;
        p += vertex_key.size();
        float numbers[3];
        for (float& number : numbers) {
            // What begins with a visible character is a number of this line or none.
            const char* const end = *p > ' ' ? libutils::read_float(p, number) : p;
            if (end == p) return false;
            p = end;
            if (*p != '\n') ++p;
        }
        if (*p != '\n') return false;
        corner = {numbers[0], numbers[1], numbers[2]};
        in_.took_line(p);
        return true;
    }

    bool read_vertex(render::pos3& corner) {
        const std::size_t at = find_in<vertex_key>(in_.line());
        if (at == std::string_view::npos) return false;
        bool ok = true;
        field_reader fields(in_.line().substr(at + vertex_key.size()));
        corner = {fields.any_number(&ok), fields.any_number(&ok), fields.any_number(&ok)};
        return ok;
    }

    file_place place() const { return {in_.number(), 0, triangle_}; }

    bool fail_here(const std::string& what) {
        in_.check_whole();
        tell(observer_, place(), what);
        return fail(error_, "num: ", std::to_string(in_.number()));
    }

    line_reader& in_;
    std::ostream& error_;
    load_observer* observer_;
    std::uint64_t triangle_ = 0; // from 1
    bool ended_ = false;         // whether "endsolid" was the last to begin or end a solid
};

bool read_text(polygon_t& polygon, line_reader& in, const load_context& context) {
    text_stl text(in, context);
    const std::uint64_t facets = text.count();
    facet_filler filler(polygon);
    if (!filler.allocate(facets)) return false;
    in.set_progress(context.progress);
    for (std::uint64_t facet = 0; facet < facets; ++facet)
        if (!text.read_facet(filler)) return false;
    if (context.observer) text.check_rest();
    return true;
}

} // namespace

bool load_stl(surface_list& items, const std::string& name, const load_context& context) {
    line_reader in;
    if (in.open(name)) return read_stl(items, name, in, context);
    tell(context.observer, {}, "file open error.");
    return fail(context.error, name, ": file open error.");
}

bool read_stl(surface_list& items, const std::string& name, line_reader& in,
              const load_context& context) try {
    const std::string_view bytes = in.text();
    if (bytes.size() < stl_text_start.size()) {
        tell(context.observer, {}, "the file has ", bytes.size(), " bytes");
        return fail(context.error, name, ": file is too short.");
    }
    model_item_t& item = items.emplace_back();
    const bool done = is_text_stl(bytes) ? read_text(item.polygon, in, context)
                                         : read_binary(item.polygon, bytes, name, context);
    in.check_whole();
    if (!done) return false;
    item.polygon.rebuildpolyids(name);
    return true;
} catch (const file_cut_short& cut) {
    tell(context.observer, {in.number()}, "the file was cut short while it was read");
    return fail(context.error, cut.what(), "");
}

} // namespace pmt3d
