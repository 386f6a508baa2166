#include "pmt3d/format/text_reader.h"

#include "libutils/report.h"
#include "pmt3d/format/fields.h"
#include "pmt3d/format/line_check.h"
#include "pmt3d/format/load_observer.h"
#include "pmt3d/format/polygon_lines.h"
#include "pmt3d/format/vertex_limit.h"
#include "pmt3d/surface/nurbs.h"
#include "pmt3d/surface/polygon.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <span>
#include <sstream>
#include <utility>

namespace pmt3d {

namespace {

// The lines that are passed over everywhere: comments, and those that hold nothing or just a '\r'.
bool is_blank_or_comment(std::string_view line) {
    return line.empty() || line[0] == '#' || line == "\r";
}

constexpr float radians_per_degree = 0.017453292f; // in single precision
constexpr render::col3a default_color = {0.5f, 0.5f, 0.5f, 1.0f};

enum class key {
    end,
    resolution,
    color,
    fcolor,
    knot1,
    knot2,
    weight,
    texcoord,
    position,
    circle,
    sphere,
    element,
    tangent,
    binormal,
    normal,
    texture,
    texfilter,
    mipmap,
    nearlinear,
    maglinear,
    refractfactor,
    aniso,
    bumpmap,
    bumpofs,
    bump2mono,
    specular,
    mercatorsphere,
    cubetex,
    reflectalpha,
    refractalpha,
};

struct key_text {
    std::string_view text;
    key which;
    std::string_view missing = {}; // said when the line has no value; empty: it needs none
};

// The first entry that the line begins with.
const key_text* find_key(std::string_view line, std::span<const key_text> keys) {
    if (line.empty()) return nullptr;
    for (const key_text& k : keys)
        if (k.text[0] == line[0] && line.starts_with(k.text)) return &k;
    return nullptr;
}

// In the order in which they are tried.
constexpr key_text polygon_keys[] = {
    {"end", key::end},
    {"resolution", key::resolution},
    {"color", key::color, "color parm is not set. "},
    {"fcolor", key::fcolor, "fcolor parm is not set. "},
    {"texcoord", key::texcoord, "texcoord parm is not set. "},
    {"position", key::position, "position parm is not set. "},
    {"circle", key::circle, "circle parm is not set. "},
    {"sphere", key::sphere, "sphere parm is not set. "},
    {"element", key::element, "element parm is not set. "},
    {"tangent", key::tangent, "tangent parm is not set. "},
    {"binormal", key::binormal, "binormal parm is not set. "},
    {"normal", key::normal, "normal parm is not set. "},
    {"texture", key::texture, "texture path is not set. "},
    {"texfilter", key::texfilter, "texfilter is not set. "},
    {"mipmap", key::mipmap, "mipmap is not set. "},
    {"nearlinear", key::nearlinear, "nearlinear is not set. "},
    {"maglinear", key::maglinear, "maglinear is not set. "},
    {"refractfactor", key::refractfactor, "refractfactor is not set. "},
    {"aniso", key::aniso, "aniso parm is not set. "},
    {"bumptex", key::bumpmap, "bumpmap path is not set. "},
    {"bumpmap", key::bumpmap, "bumpmap path is not set. "},
    {"bumpofs", key::bumpofs, "bumpofs parm is not set. "},
    {"bump2mono", key::bump2mono, "bump2mono parm is not set. "},
    {"specular", key::specular, "specular path is not set. "},
    {"mercatorsphere", key::mercatorsphere, "mercatorsphere parm is not set. "},
};

constexpr key_text nurbs_keys[] = {
    {"end", key::end},
    {"resolution", key::resolution, "resolution parm is not set. "},
    {"color", key::color, "color parm is not set. "},
    {"fcolor", key::fcolor, "fcolor parm is not set. "},
    {"knot1", key::knot1, "knot1 parm is not set. "},
    {"knot2", key::knot2, "knot2 parm is not set. "},
    {"weight", key::weight, "weight parm is not set. "},
    {"position", key::position, "position parm is not set. "},
    {"circle", key::circle, "circle parm is not set. "},
    {"sphere", key::sphere, "sphere parm is not set. "},
    {"texture", key::texture, "texture path is not set. "},
    {"texfilter", key::texfilter, "texfilter is not set. "},
    {"mipmap", key::mipmap, "is_mipmap is not set. "},
    {"nearlinear", key::nearlinear, "nearlinear is not set. "},
    {"maglinear", key::maglinear, "maglinear is not set. "},
    {"refractfactor", key::refractfactor, "refractfactor is not set. "},
    {"aniso", key::aniso, "aniso parm is not set. "},
    {"bumptex", key::bumpmap, "bumpmap path is not set. "},
    {"bumpmap", key::bumpmap, "bumpmap path is not set. "},
    {"bumpofs", key::bumpofs, "bumpofs parm is not set. "},
    {"bump2mono", key::bump2mono, "bump2mono parm is not set. "},
    {"specular", key::specular, "specular path is not set. "},
    {"mercatorsphere", key::mercatorsphere, "mercatorsphere parm is not set. "},
};

constexpr key_text environment_keys[] = {
    {"end", key::end},
    {"cubetex", key::cubetex},
    {"cubemap", key::cubetex},
    {"reflectalpha", key::reflectalpha},
    {"refractalpha", key::refractalpha},
    {"refractfactor", key::refractfactor},
};

// The values of a key's line, as check_values() wants them.
std::string_view kinds_of(key which) {
    switch (which) {
    case key::end:
        return "";
    case key::resolution:
        return "ii";
    case key::color:
        return "iiii";
    case key::fcolor:
        return "eeee";
    case key::texcoord:
        return "ee";
    case key::position:
    case key::circle:
    case key::sphere:
        return "eee";
    case key::knot1:
    case key::knot2:
    case key::weight:
        return "d";
    case key::element:
        return "i";
    case key::tangent:
    case key::binormal:
    case key::normal:
        return "ddd";
    case key::texture:
    case key::bumpmap:
    case key::specular:
    case key::cubetex:
        return "p";
    case key::texfilter:
        return "bbb";
    case key::refractfactor:
    case key::aniso:
    case key::reflectalpha:
    case key::refractalpha:
        return "e";
    default:
        return "b";
    }
}

// Where the diagnostics of a block go.
class reporter {
public:
    reporter(const line_reader& in, std::ostream& error, load_observer* observer)
        : in_(in),
          error_(error),
          observer_(observer) {
        if (observer) silence_.emplace(nullptr);
    }

    bool is_observed() const { return observer_ != nullptr; }
    // For what libutils::evaluate says, which check_line() will repeat.
    std::ostream* evaluation() { return silence_ ? &*silence_ : nullptr; }

    // One diagnostic, with the number of the current line in front.
    template <class... Parts>
    void complain(const Parts&... parts) {
        libutils::report_to(error_, in_.number(), ": ", parts...);
        if (observer_) tell_parts(parts...);
    }
    // One that repeats the line.
    void complain_line(std::string_view message) {
        report(std::to_string(in_.number()).append(": ").append(message), message);
    }
    void unknown_line() { report("unknown line: ", "unknown line: "); }

    // For the observer alone.
    void tell(std::string_view text) {
        if (observer_) observer_->left_out({in_.number()}, text);
    }
    void check_line(key which, std::string_view value) {
        const std::string_view kinds = kinds_of(which);
        check_values(value, kinds, [&](const std::string& wrong) { tell_line(wrong); });
    }
    void tell_line(std::string_view message) {
        std::string_view line = in_.line();
        if (line.ends_with('\r')) line.remove_suffix(1);
        tell_parts(message, ", in \"", line.substr(0, longest), '"');
    }
    void picture(const std::string& path) {
        if (!observer_) return;
        if (path.empty())
            tell_line("the path is missing");
        else
            observer_->named_picture(in_.number(), path);
    }

private:
    static constexpr std::size_t longest = 1000; // nobody reads more

    template <class... Parts>
    void tell_parts(const Parts&... parts) {
        std::ostringstream text;
        (text << ... << parts);
        tell(text.view());
    }
    void report(std::string_view stated, std::string_view told) {
        std::string_view line = in_.line(), text = line;
        if (text.ends_with('\r')) text.remove_suffix(1);
        if (text_mode) line = text;
        const auto beginning = [](std::string_view whole) { return whole.substr(0, longest); };
        libutils::report_to(error_, stated, beginning(line), line.size() > longest ? "..." : "");
        if (observer_) tell_parts(told, beginning(text));
    }

    // Windows' own streams put a '\r' before every '\n'.
#ifdef _WIN32
    static constexpr bool text_mode = true;
#else
    static constexpr bool text_mode = false;
#endif
    const line_reader& in_;
    std::ostream& error_;
    load_observer* observer_;
    std::optional<std::ostream> silence_;
};

// What stands behind the first blank; an empty stretch at the line's end when there is none.
std::string_view value_of(std::string_view line) {
    return line.substr(std::min(line.find(' '), line.size() - 1) + 1);
}

// What stands behind the first comma; no data when there is none.
std::string_view behind_comma(std::string_view text) {
    const std::size_t comma = text.find(',');
    return comma == text.npos ? std::string_view() : text.substr(comma + 1);
}

// No system opens a file with a longer name, so there is no point in keeping or repeating one.
constexpr std::size_t longest_path = 65536;

// Takes the rest of the current line as a path.
void read_path(std::string& path, std::string_view value, reporter& report) {
    if (value.ends_with('\r')) value.remove_suffix(1);
    if (value.size() > longest_path) return report.complain_line("path is too long: ");
    path = value;
    report.picture(path);
}

// A count from a header, of things that take at least so many bytes each.
bool plausible(std::uint64_t count, std::uint64_t bytes_each, const line_reader& in) {
    constexpr std::uint64_t harmless = 65536;
    return count <= std::max(harmless, in.remaining() / bytes_each);
}

// Statements in sequence, as braces promise it and arguments of a function do not.
render::pos3 read_position(field_reader& fields) {
    return render::pos3{fields.expression(), fields.expression(), fields.expression()};
}
render::dir3 read_direction(field_reader& fields) {
    return render::dir3{fields.decimal(), fields.decimal(), fields.decimal()};
}

// A point given by its distance and angles.
render::pos3 on_circle(field_reader& fields) {
    const float radius = fields.expression(), angle = fields.expression() * radians_per_degree;
    const float z = fields.expression();
    return {-radius * std::sin(angle), radius * std::cos(angle), z};
}
render::pos3 on_sphere(field_reader& fields) {
    const float radius = fields.expression(), theta = fields.expression() * radians_per_degree;
    const float phi = fields.expression() * radians_per_degree;
    return {-radius * std::sin(theta) * std::sin(phi), radius * std::sin(theta) * std::cos(phi),
            radius * std::cos(theta)};
}

// What polygon and NURBS blocks have in common: the colour, points, and the pictures' options.
class surface_block {
public:
    surface_block(line_reader& in, libgr::texture_options& texture, std::ostream& error,
                  load_observer* observer)
        : in_(in),
          texture_(texture),
          report_(in, error, observer) {}

protected:
    // Goes on to the next line that has a key and, where it needs one, a value. Null at the end of the text;
    // the end of the block is a key.
    const key_text* next(std::span<const key_text> keys) {
        while (in_.next()) {
            const std::string_view line = in_.line();
            const key_text* k = find_key(line, keys);
            if (!k) {
                if (!is_blank_or_comment(line)) report_.complain_line("illegal command: ");
            } else if (!k->missing.empty() && line.find(' ') == line.npos)
                report_.complain_line(k->missing);
            else
                return k;
        }
        report_.tell("the file ends before the block's \"end\"");
        return nullptr;
    }
    // What follows the header's first comma: so many counts. No data: there is no comma.
    std::string_view counts(std::string_view kinds) {
        const std::string_view text = behind_comma(in_.line());
        if (!text.data())
            report_.tell("the header has no counts: " + std::string(in_.line().substr(0, 100)));
        else if (report_.is_observed())
            check_values(text, kinds, [&](const std::string& wrong) { report_.tell("header: " + wrong); });
        return text;
    }
    field_reader fields_of(std::string_view value) { return field_reader(value, report_.evaluation()); }
    // For an observed block, behind each line.
    void check_line(key which, std::string_view value, const field_reader& fields) {
        if (fields.odd()) report_.check_line(which, value); // so are those that were not read as fields
    }
    void check_point(const render::pos3& p) { check_finite(p.x, p.y, p.z); }
    template <class... Numbers>
    void check_finite(Numbers... numbers) {
        const auto is_finite = [](float x) { return x - x == 0.0f; };
        if (!(... && is_finite(numbers))) report_.tell_line("a number is not finite");
    }

    // The keys that both kinds of block know.
    void common_key(key which, std::string_view value, field_reader& fields) {
        switch (which) {
        case key::color:
            color_ = {fields.byte_color(), fields.byte_color(), fields.byte_color(), fields.byte_color()};
            break;
        case key::fcolor:
            color_ = {fields.expression(), fields.expression(), fields.expression(), fields.expression()};
            break;
        case key::texture:
            read_path(texture_.texture, value, report_);
            break;
        case key::texfilter:
            texture_filter(value);
            break;
        case key::mipmap:
            texture_.mipmap = fields.boolean();
            break;
        case key::nearlinear:
            texture_.nearlinear = fields.boolean();
            break;
        case key::maglinear:
            texture_.maglinear = fields.boolean();
            break;
        case key::refractfactor:
            texture_.refractfactor = fields.expression();
            break;
        case key::aniso:
            texture_.aniso = fields.expression();
            break;
        case key::bumpmap:
            read_path(texture_.bumpmap, value, report_);
            break;
        case key::bumpofs:
            texture_.bumpofs = fields.boolean();
            break;
        case key::bump2mono:
            texture_.bump2mono = fields.boolean();
            break;
        case key::specular:
            read_path(texture_.specular, value, report_);
            break;
        case key::mercatorsphere:
            texture_.mercatorsphere = fields.boolean();
            break;
        default:
            break;
        }
    }

    static render::pos3 point(key which, field_reader& fields) {
        return which == key::position ? read_position(fields)
               : which == key::circle ? on_circle(fields)
                                      : on_sphere(fields);
    }

    // True when there are as many as announced. `what` and `whats` are the words of the message.
    bool complete(std::uint64_t read, std::uint64_t expected, const char* what, const char* whats) {
        if (read >= expected) return true;
        report_.complain(what, "(", read, ") < ", expected, ": too few ", whats, ".");
        return false;
    }
    // True when there is room for one more.
    bool room(std::uint64_t read, std::uint64_t expected, const char* what) {
        if (read < expected) return true;
        report_.complain(what, "(", read, ") >= ", expected, " over.");
        over_ = true;
        return false;
    }

    line_reader& in_;
    libgr::texture_options& texture_;
    reporter report_;
    render::col3a color_ = default_color;
    bool over_ = false; // whether the line had no room

private:
    void texture_filter(std::string_view value) {
        texture_.mipmap = field_reader(value).boolean();
        const std::string_view near = behind_comma(value);
        if (!near.data()) return report_.complain_line("nearlinear is not set. ");
        texture_.nearlinear = field_reader(near).boolean();
        const std::string_view mag = behind_comma(near);
        if (!mag.data()) return report_.complain_line("maglinear is not set. ");
        texture_.maglinear = field_reader(mag).boolean();
    }
};

class polygon_block : surface_block {
public:
    polygon_block(polygon_t& polygon, line_reader& in, libgr::texture_options& texture, std::ostream& error,
                  load_observer* observer)
        : surface_block(in, texture, error, observer),
          polygon_(polygon) {}

    bool read() {
        const std::string_view announced = counts("ii");
        if (!announced.data()) return false;
        field_reader fields(announced);
        const std::uint32_t vertices = fields.integer(), elements = fields.integer();
        // The shortest lines are "circle \n" and "element \n".
        if (!plausible(vertices, 8, in_) || !plausible(elements, 9, in_) ||
            !polygon_.allocate(vertices, elements)) {
            report_.complain("polygon allocate error.");
            return false;
        }
        vertices_ = polygon_.edit_vertices();
        frames_ = polygon_.edit_normals();
        elements_ = polygon_.edit_elements();
        decide_sharing();
        while (const key_text* k = next(polygon_keys)) {
            if (k->which == key::end) return check();
            line(k->which);
            if (in_.position() >= share_from_ && is_one_of_many(k->which)) share();
        }
        return false;
    }

private:
    // Threads are worth it where the block fills several pieces, at so many bytes for each vertex with its
    // frame.
    void decide_sharing() {
        constexpr std::uint64_t of_vertex = 100, of_element = 10;
        const std::uint64_t most = of_vertex * vertices_.size() + of_element * elements_.size();
        sharing_ = libutils::sharing_for(std::min(most, in_.remaining()));
        if (sharing_.threads > 1 && most > sharing_.piece) share_from_ = 0;
    }
    static bool is_one_of_many(key which) {
        return which == key::color || (which >= key::texcoord && which <= key::normal);
    }
    // Reads on with several threads. After a line that they leave to this one it may be the turn of more such
    // lines, so that the next attempt waits for so many pieces as there have been attempts in vain.
    void share() {
        polygon_progress block = {vertices_,      frames_,        elements_,       vertex_count_,
                                  element_count_, tangent_count_, binormal_count_, normal_count_,
                                  color_,         texcoord_};
        const std::uint64_t pieces = read_plain_lines(in_, block, sharing_, report_.is_observed());
        vertex_count_ = block.vertex_count;
        element_count_ = block.element_count;
        tangent_count_ = block.tangent_count;
        binormal_count_ = block.binormal_count;
        normal_count_ = block.normal_count;
        color_ = block.color;
        texcoord_ = block.texcoord;
        in_vain_ = pieces > sharing_.threads ? 0 : in_vain_ + 1;
        share_from_ = in_.position() + in_vain_ * sharing_.piece;
    }

    void line(key which) {
        const std::string_view value = value_of(in_.line());
        field_reader fields = fields_of(value);
        switch (which) {
        case key::resolution:
            break; // of no use to a surface of triangles
        case key::texcoord:
            texcoord_ = {fields.expression(), fields.expression()};
            break;
        case key::position:
        case key::circle:
        case key::sphere:
            if (room(vertex_count_, vertices_.size(), "polygon vertex"))
                vertices_[vertex_count_++] = {point(which, fields), color_, texcoord_};
            break;
        case key::element:
            if (room(element_count_, elements_.size(), "polygon element"))
                elements_[element_count_++] = fields.integer();
            break;
        case key::tangent:
            if (room(tangent_count_, frames_.size(), "polygon tangent"))
                frames_[tangent_count_++].tangent = read_direction(fields);
            break;
        case key::binormal:
            if (room(binormal_count_, frames_.size(), "polygon binormal"))
                frames_[binormal_count_++].binormal = read_direction(fields);
            break;
        case key::normal:
            if (room(normal_count_, frames_.size(), "polygon normal"))
                frames_[normal_count_++].normal = read_direction(fields);
            break;
        default:
            common_key(which, value, fields);
        }
        if (report_.is_observed() && which != key::resolution) check_line(which, value, fields);
    }

    void check_line(key which, std::string_view value, const field_reader& fields) {
        surface_block::check_line(which, value, fields);
        if (std::exchange(over_, false)) return;
        const auto check_last = [this](std::uint64_t count, const auto& direction_of) {
            const render::dir3& d = direction_of(frames_[count - 1]);
            check_finite(d.x, d.y, d.z);
        };
        switch (which) {
        case key::texcoord:
            check_finite(texcoord_.s, texcoord_.t);
            break;
        case key::position:
        case key::circle:
        case key::sphere:
            check_point(vertices_[vertex_count_ - 1].position);
            break;
        case key::element:
            check_index(elements_[element_count_ - 1]);
            break;
        case key::tangent:
            check_last(tangent_count_, [](const frame_t& f) -> const render::dir3& { return f.tangent; });
            break;
        case key::binormal:
            check_last(binormal_count_, [](const frame_t& f) -> const render::dir3& { return f.binormal; });
            break;
        case key::normal:
            check_last(normal_count_, [](const frame_t& f) -> const render::dir3& { return f.normal; });
            break;
        default:
            break;
        }
    }
    void check_index(element_t index) {
        if (index < vertices_.size() || index == strip_end) return;
        report_.tell("element " + std::to_string(index) + " is beyond the " +
                     std::to_string(vertices_.size()) + " vertices");
    }

    bool check() {
        bool all = complete(vertex_count_, vertices_.size(), "vertex", "vertex");
        all &= complete(element_count_, elements_.size(), "element", "element");
        all &= complete(tangent_count_, vertices_.size(), "tangent", "tangent");
        all &= complete(binormal_count_, vertices_.size(), "binormal", "binormal");
        all &= complete(normal_count_, vertices_.size(), "normal", "normal");
        return all;
    }

    polygon_t& polygon_;
    std::span<vertex_t> vertices_;
    std::span<frame_t> frames_;
    std::span<element_t> elements_;
    std::uint64_t vertex_count_ = 0, element_count_ = 0; // read so far, as are the others
    std::uint64_t tangent_count_ = 0, binormal_count_ = 0, normal_count_ = 0;
    render::txc2 texcoord_{};
    libutils::sharing sharing_;
    std::uint64_t share_from_ = UINT64_MAX; // position in the file
    std::uint64_t in_vain_ = 0;             // attempts since the last that has read much
};

class nurbs_block : surface_block {
public:
    nurbs_block(nurbs_t& nurbs, line_reader& in, libgr::texture_options& texture, std::ostream& error,
                load_observer* observer)
        : surface_block(in, texture, error, observer),
          nurbs_(nurbs) {}

    // False: give up at once. Otherwise complete() tells whether everything was there.
    bool read() {
        const std::string_view announced = counts("iiii");
        if (!announced.data()) return false;
        field_reader fields(announced);
        const std::uint64_t m = fields.integer(), k1 = fields.integer();
        const std::uint64_t n = fields.integer(), k2 = fields.integer();
        // The shortest lines are "knot1 \n", "weight \n" and "circle \n".
        if (!plausible_table(n, m + k1, 7) || !plausible_table(m, n + k2, 7) || !plausible_table(n, m, 8) ||
            !nurbs_.allocate(m, k1, n, k2)) {
            report_.complain("nurbs allocate error.");
            return false;
        }
        while (const key_text* k = next(nurbs_keys)) {
            if (k->which == key::end) {
                complete_ = check();
                return true;
            }
            if (!line(k->which)) return false;
        }
        return true;
    }
    bool complete() const { return complete_; }

private:
    using surface_block::complete;

    bool plausible_table(std::uint64_t rows, std::uint64_t columns, std::uint64_t bytes_each) const {
        return plausible(rows, bytes_each, in_) && plausible(columns, bytes_each, in_) &&
               plausible(rows * columns, bytes_each, in_);
    }

    bool line(key which) {
        const std::string_view value = value_of(in_.line());
        field_reader fields = fields_of(value);
        if (!take(which, value, fields)) return false;
        if (report_.is_observed()) check_line(which, value, fields);
        return true;
    }

    bool take(key which, std::string_view value, field_reader& fields) {
        switch (which) {
        case key::resolution: {
            const std::uint32_t u = fields.integer(), v = fields.integer();
            nurbs_.set_resolution(u, v);
            return true;
        }
        case key::knot1:
            return store(nurbs_.knots1(), knot1_count_, "nurbs knots1", fields);
        case key::knot2:
            return store(nurbs_.knots2(), knot2_count_, "nurbs knots2", fields);
        case key::weight:
            return store(nurbs_.weights(), weight_count_, "nurbs weights", fields);
        case key::position:
        case key::circle:
        case key::sphere:
            if (!room(point_count_, nurbs_.points().size(), "nurbs points")) return false;
            nurbs_.points()[point_count_++] = {point(which, fields), color_};
            return true;
        default:
            common_key(which, value, fields);
            return true;
        }
    }

    void check_line(key which, std::string_view value, const field_reader& fields) {
        surface_block::check_line(which, value, fields);
        switch (which) {
        case key::knot1:
            return check_finite(nurbs_.knots1()[knot1_count_ - 1]);
        case key::knot2:
            return check_finite(nurbs_.knots2()[knot2_count_ - 1]);
        case key::weight:
            return check_finite(nurbs_.weights()[weight_count_ - 1]);
        case key::position:
        case key::circle:
        case key::sphere:
            return check_point(nurbs_.points()[point_count_ - 1].position);
        default:
            return;
        }
    }

    bool store(std::span<float> table, std::uint64_t& count, const char* what, field_reader& fields) {
        if (!room(count, table.size(), what)) return false;
        table[count++] = fields.decimal();
        return true;
    }

    bool check() {
        bool all = complete(knot1_count_, nurbs_.knots1().size(), "knot1", "knots");
        all &= complete(knot2_count_, nurbs_.knots2().size(), "knot2", "knots");
        all &= complete(weight_count_, nurbs_.weights().size(), "weight", "weights");
        all &= complete(point_count_, nurbs_.points().size(), "point", "points");
        return all;
    }

    nurbs_t& nurbs_;
    std::uint64_t knot1_count_ = 0, knot2_count_ = 0, weight_count_ = 0, point_count_ = 0;
    bool complete_ = true;
};

} // namespace

std::uint64_t read_blocks(line_reader& in, std::ostream& error,
                          const std::function<std::optional<bool>()>& read_block,
                          load_observer* observer) try {
    reporter report(in, error, observer);
    std::uint64_t blocks = 0;
    while (in.next()) {
        const std::optional<bool> read = read_block();
        if (read == false) return 0;
        if (read)
            ++blocks;
        else if (!is_blank_or_comment(in.line()))
            report.unknown_line();
    }
    if (blocks == 0 && observer) observer->left_out({}, "the file has no surface and no environment");
    return blocks;
} catch (const file_cut_short& cut) {
    libutils::report_to(error, cut.what());
    if (observer) observer->left_out({in.number()}, "the file was cut short while it was read");
    return 0;
}

bool read_polygon_block(const std::string& name, libgr::texture_options& texture, polygon_t& polygon,
                        line_reader& in, std::ostream& error, load_observer* observer) {
    if (!polygon_block(polygon, in, texture, error, observer).read()) return false;
    polygon.rebuildpolyids(name);
    return true;
}

// Why a tessellation is refused that asks for more than the limit.
static std::string refusal(std::uint64_t number, std::uint64_t vertices, const vertex_limit& limit) {
    using std::to_string;
    const std::string asked =
        "surface " + to_string(number) + " asks for " + to_string(vertices) + " vertices: ";
    if (vertices > nurbs_t::most_vertices)
        return asked + "a surface has at most " + to_string(nurbs_t::most_vertices) + '.';
    return asked + to_string(limit.left()) + " are left of the " + to_string(limit.most()) +
           " that this file may have (pmt3d --vertices N allows N).";
}

bool read_nurbs_block(const std::string& name, nurbs_t& nurbs, libgr::texture_options& texture,
                      polygon_t& polygon, const frame_update& frames, std::uint64_t number,
                      vertex_limit& limit, line_reader& in, std::ostream& error, load_observer* observer) {
    const std::uint64_t first_line = in.number();
    nurbs_block block(nurbs, in, texture, error, observer);
    if (!block.read()) return false;
    const std::uint64_t vertices = std::uint64_t(nurbs.resolution_u()) * nurbs.resolution_v();
    if (vertices > limit.left()) {
        const std::string why = refusal(number, vertices, limit);
        libutils::report_to(error, first_line, ": ", why);
        if (observer) observer->left_out({first_line}, why);
    }
    if (!nurbs.afterload(name) || !nurbs.MakeVertices5(polygon, limit.left())) {
        if (observer && vertices <= limit.left())
            observer->left_out({first_line}, "the surface cannot be tessellated");
        return libutils::report_to(error, "nurbs.makeVertices() error.");
    }
    limit.take(vertices);
    nurbs.updateVertices(polygon);
    if (frames)
        frames(polygon);
    else
        average_frames(polygon);
    return block.complete();
}

std::optional<model_item_t::kind_t> surface_kind(std::string_view line) {
    if (line.starts_with(nurbs_header)) return model_item_t::kind_t::nurbs;
    if (line.starts_with(polygon_header)) return model_item_t::kind_t::polygon;
    return {};
}

bool read_surface_block(const std::string& name, model_item_t& item, std::uint64_t number,
                        const frame_update& frames, vertex_limit& limit, line_reader& in, std::ostream& error,
                        load_observer* observer) {
    if (item.kind == model_item_t::kind_t::nurbs)
        return read_nurbs_block(name, item.nurbs, item.texture, item.polygon, frames, number, limit, in,
                                error, observer);
    return read_polygon_block(name, item.texture, item.polygon, in, error, observer);
}

bool read_environment_block(libgr::environment_options& environment, line_reader& in, std::ostream& error,
                            load_observer* observer) {
    reporter report(in, error, observer);
    if (!in.line().starts_with(environment_header))
        return libutils::report_to(error, "not 'begin environment'.");
    while (in.next()) {
        const std::string_view line = in.line();
        const key_text* k = find_key(line, environment_keys);
        if (!k) {
            if (!is_blank_or_comment(line)) report.complain_line("illegal command: ");
            continue;
        }
        if (k->which == key::end) return true;
        // A key without a value has an empty one.
        const std::string_view value = value_of(line);
        field_reader fields(value, report.evaluation());
        switch (k->which) {
        case key::cubetex:
            read_path(environment.cubetex, value, report);
            break;
        case key::reflectalpha:
            environment.reflectalpha = fields.expression();
            break;
        case key::refractalpha:
            environment.refractalpha = fields.expression();
            break;
        default:
            environment.refractfactor = fields.expression();
            break;
        }
        if (observer && fields.odd()) report.check_line(k->which, value);
    }
    report.tell("the file ends before the block's \"end\"");
    return true;
}

} // namespace pmt3d
