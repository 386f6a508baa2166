#include "pmt3d/format/stl.h"

#include "libutils/number.h"
#include "libutils/parallel.h"
#include "libutils/report.h"
#include "pmt3d/format/facet_filler.h"
#include "pmt3d/format/fields.h"
#include "pmt3d/format/line_reader.h"
#include "pmt3d/format/stl_form.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <optional>
#include <sstream>
#include <vector>

namespace pmt3d {

namespace {

constexpr std::string_view facet_key = "facet normal ", loop_key = "outer loop", vertex_key = "vertex ";
constexpr std::string_view loop_end = "endloop", facet_end = "endfacet";

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

bool are_finite(const render::pos3 (&corners)[3]) {
    return std::all_of(std::begin(corners), std::end(corners), [](const render::pos3& c) {
        return std::isfinite(c.x) && std::isfinite(c.y) && std::isfinite(c.z);
    });
}

void check_finite(load_observer& observer, const file_place& place, const render::pos3 (&corners)[3]) {
    if (!are_finite(corners)) observer.left_out(place, "a corner of the triangle is not finite");
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
    const auto arrays = facet_arrays::allocate(polygon, triangles);
    if (!arrays) return false;
    const char* const records = bytes.data() + stl_prefix;
    const auto corners_of = [records](std::uint64_t t, render::pos3(&corners)[3]) {
        std::memcpy(corners, records + t * stl_record + sizeof(render::dir3), sizeof corners);
    };
    const auto how = libutils::sharing_for(bytes.size());
    const std::uint64_t each = std::max<std::uint64_t>(1, how.piece / stl_record);
    libutils::for_each_piece(
        how.threads, (triangles + each - 1) / each, [&](std::uint64_t piece, unsigned thread) {
            const std::uint64_t first = piece * each, end = std::min(first + each, triangles);
            if (thread == 0 && context.progress) context.progress(first, triangles);
            facet_filler filler(*arrays, first);
            for (std::uint64_t t = first; t < end; ++t) {
                render::pos3 corners[3];
                corners_of(t, corners);
                filler.add(corners);
            }
        });
    for (std::uint64_t t = 0; observer && t < triangles; ++t) {
        render::pos3 corners[3];
        corners_of(t, corners);
        check_finite(*observer, {0, stl_prefix + t * stl_record, t + 1}, corners);
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
    // error: null for an attempt, whose failure nobody is told.
    text_stl(line_reader& in, std::ostream* error, load_observer* observer,
             std::uint64_t triangles_before = 0)
        : in_(in),
          error_(error),
          observer_(observer),
          triangle_(triangles_before) {}

    // The lines with a facet's key.
    static std::uint64_t count(std::string_view text) {
        constexpr char rare = 'm'; // no other word of a file has it
        constexpr std::size_t before = facet_key.find(rare);
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
        if (read_plain_facet(filler)) return true;
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

    // Between facets, for an observer: goes on to that position, or to the end.
    void check_up_to(std::uint64_t position) {
        while (in_.position() < position && in_.next())
            check_skipped();
    }
    void check_end() {
        check_up_to(in_.size());
        in_.check_whole();
        if (ended_ != true) observer_->left_out({in_.number()}, "the file ends without \"endsolid\"");
    }
    // Whether the last solid has ended; nothing when none has begun or ended yet.
    std::optional<bool> ended() const { return ended_; }
    // For facets that another reader has read.
    void took(std::uint64_t facets, std::optional<bool> ended) {
        triangle_ += facets;
        if (ended) ended_ = ended;
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

    // Passes over blanks, the words and, with `to_end`, the end of the line. Null when it is another line.
    template <const std::string_view& words>
    static const char* behind(const char* p, const char* end, bool to_end) {
        while (p < end && *p == ' ')
            ++p;
        if (std::size_t(end - p) < words.size() + 2 || std::memcmp(p, words.data(), words.size()) != 0)
            return nullptr;
        p += words.size();
        if (!to_end) return p;
        if (*p == '\r') ++p;
        return *p == '\n' ? p + 1 : nullptr;
    }

    // A facet with the end of the one before it, as nearly all programs write them. False, with nothing
    // taken, for any other.
    bool read_plain_facet(facet_filler& filler) {
        const char* const begin = in_.ahead();
        if (!begin) return false;
        const char* const end = in_.lines_end();
        const char* p = behind<loop_end>(begin, end, true);
        if (p) p = behind<facet_end>(p, end, true);
        if (p) p = behind<facet_key>(p, end, false);
        if (!p || *p <= ' ') return false;
        p = static_cast<const char*>(
            std::memchr(p, '\n', std::size_t(end - p))); // there is one: `end` is behind it
        p = behind<loop_key>(p + 1, end, true);
        render::pos3 corners[3];
        for (render::pos3& corner : corners) {
            if (p) p = plain_vertex(p, end, corner);
            if (!p) return false;
        }
        if (end - p < 2 || p[0] == '\n' || p[1] == '\n') return false;
        if (observer_ && !are_finite(corners)) return false;
        in_.took_lines(std::uint64_t(p + 2 - begin), 7);
        filler.add(corners);
        return true;
    }

    // Blanks, the key, three numbers with one character behind each, and the end of the line, behind which it
    // returns. Null for any other line.
    static const char* plain_vertex(const char* p, const char* text_end, render::pos3& corner) {
        p = behind<vertex_key>(p, text_end, false);
        if (!p) return nullptr;
        float numbers[3];
        for (float& number : numbers) {
            // What begins with a visible character is a number of this line or none.
            const char* const stop = *p > ' ' ? libutils::read_float(p, number) : p;
            if (stop == p) return nullptr;
            p = stop;
            if (*p != '\n') ++p;
        }
        corner = {numbers[0], numbers[1], numbers[2]};
        return *p == '\n' ? p + 1 : nullptr;
    }
    // False, with nothing taken, for any other line.
    bool read_plain_vertex(render::pos3& corner) {
        const char* const begin = in_.ahead();
        const char* const behind = begin ? plain_vertex(begin, in_.lines_end(), corner) : nullptr;
        if (!behind) return false;
        in_.took_lines(std::uint64_t(behind - begin), 1);
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
        if (!error_) return false;
        in_.check_whole();
        tell(observer_, place(), what);
        return fail(*error_, "num: ", std::to_string(in_.number()));
    }

    line_reader& in_;
    std::ostream* error_;
    load_observer* observer_;
    std::uint64_t triangle_;      // from 1
    std::optional<bool> ended_{}; // whether "endsolid" was the last to begin or end a solid
};

// A part of a text file, which one thread may try to read on its own. It begins with the file or with a line
// that has a facet's key.
struct text_piece {
    std::string_view text;
    std::uint64_t at;         // position in the file
    std::uint64_t facets = 0; // lines with a facet's key
    std::uint64_t first = 0;  // facet of the file
    // Whether the facets have been read, with nothing to tell; then how many bytes and lines of the text they
    // took, and what they say of the solid's end.
    bool plain = false;
    std::uint64_t bytes = 0, lines = 0;
    std::optional<bool> ended = {};
};

// Pieces of about that size.
std::vector<text_piece> pieces_of(std::string_view text, std::uint64_t size) {
    std::vector<text_piece> pieces = {{text, 0}};
    for (std::uint64_t nominal = size; nominal < text.size(); nominal += size) {
        // A piece without a facet belongs to the one before it.
        const std::size_t key = text.substr(nominal, size).find(facet_key);
        if (key == text.npos) continue;
        const std::uint64_t at = text.rfind('\n', nominal + key) + 1;
        text_piece& before = pieces.back();
        if (at <= before.at) continue;
        before.text = text.substr(before.at, at - before.at);
        pieces.push_back({text.substr(at), at});
    }
    return pieces;
}

// Takes notice that there would be something to tell.
struct told : load_observer {
    bool anything = false;
    void left_out(const file_place&, std::string_view) override { anything = true; }
    void named_picture(std::uint64_t, std::string_view) override {}
};

// Reads the facets of a piece as if those before it had been read. What is not plain is left to the reader of
// the whole file.
void try_piece(text_piece& piece, const facet_arrays& arrays, bool is_last, bool is_observed) {
    line_reader in(piece.text);
    told observer;
    text_stl text(in, nullptr, is_observed ? &observer : nullptr);
    facet_filler filler(arrays, piece.first);
    for (std::uint64_t facet = 0; facet < piece.facets; ++facet)
        if (!text.read_facet(filler)) return;
    if (!is_last) {
        if (in.remaining() == 0) return; // the characters behind the last facet may be of the next piece
        if (is_observed) text.check_up_to(in.size());
        in.skip(in.remaining());
    }
    piece.plain = !observer.anything;
    piece.bytes = in.position();
    piece.lines = in.number();
    piece.ended = text.ended();
}

// Makes the facets that a failed load has not come to those of a fresh surface, whoever has read them.
struct unread_facets {
    const facet_arrays& arrays;
    const std::uint64_t &read, &all;
    ~unread_facets() { arrays.clear(read, all); }
};

bool read_text(polygon_t& polygon, line_reader& in, const load_context& context) {
    const auto how = libutils::sharing_for(in.size());
    const bool shared = how.threads > 1;
    std::vector<text_piece> pieces = pieces_of(in.text(), shared ? how.piece : in.size());
    libutils::for_each_piece(how.threads, pieces.size(), [&](std::uint64_t piece, unsigned) {
        pieces[piece].facets = text_stl::count(pieces[piece].text);
    });
    std::uint64_t facets = 0;
    for (text_piece& piece : pieces) {
        piece.first = facets;
        facets += piece.facets;
    }
    const auto arrays = facet_arrays::allocate(polygon, facets);
    if (!arrays) return false;
    std::uint64_t facet = 0;
    std::optional<unread_facets> unread;
    in.set_progress(context.progress);
    if (shared) {
        unread.emplace(*arrays, facet, facets);
        libutils::for_each_piece(how.threads, pieces.size(), [&](std::uint64_t piece, unsigned thread) {
            if (thread == 0) in.passed(pieces[piece].at);
            try_piece(pieces[piece], *arrays, piece + 1 == pieces.size(), context.observer);
        });
    }

    text_stl text(in, &context.error, context.observer);
    std::optional<facet_filler> filler;
    for (auto piece = pieces.begin(); facet < facets;) {
        while (piece != pieces.end() && (!piece->plain || piece->first < facet || piece->at < in.position()))
            ++piece;
        if (piece != pieces.end() && piece->first == facet) {
            // All facets before the piece have been read, and it begins with one: the reader would come
            // there.
            filler.reset();
            if (context.observer) text.check_up_to(piece->at);
            in.skip(piece->at - in.position());
            in.took_lines(piece->bytes, piece->lines);
            text.took(piece->facets, piece->ended);
            facet += piece->facets;
            ++piece;
        } else {
            if (!filler) filler.emplace(*arrays, facet);
            if (!text.read_facet(*filler)) return false;
            ++facet;
        }
    }
    if (context.observer) text.check_end();
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
