// pmt3d convert IN... OUT: converts between the model formats, and changes models on the way.

#include "key_room.h"
#include "libgr/texture/texture_table.h"
#include "libutils/file_path.h"
#include "libutils/report.h"
#include "model_file.h"
#include "model_output.h"
#include "models/layout/key_layout.h"
#include "movement.h"
#include "progress_bar.h"
#include "reshaping.h"
#include "standard_streams.h"
#include "subcommand.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
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
    {"--only", "NAME", "take only the surface of that name or number, as info shows them; may be repeated"},
    {"--units", "mm|cm|m|in", "the unit of IN's numbers; the result's is a white key's width of 23.5 mm"},
    {"--up", "y|z", "the axis that points up in IN (y); z is turned to y"},
    {"--scale", "S", "scale by S, or by SX,SY,SZ; a negative factor mirrors"},
    {"--rotate", "X,Y,Z",
     "turn by X degrees about the x axis, then by Y about y, then by Z about z, counter-clockwise as "
     "seen from the axis's positive end"},
    {"--translate", "X,Y,Z", "move by so much"},
    {"--center", "", "move the middle of the bounds to 0,0,0"},
    {"--fit-key", "NOTE", "make it the key of a note, 0 to 127: move and scale it into that key's room"},
    {"--smooth", "ANGLE",
     "weld the triangles and smooth their normals across edges of up to ANGLE degrees, 0 to 180; "
     "30 suits most shapes, 0 makes them flat"},
    {"--resolution", "N", "give NURBS surfaces N by N vertices"},
    {"--triangles", "", "make triangles of NURBS surfaces in a .pmt file, too"},
    {"--split", "",
     "write each surface into a file of its own: OUT-NAME.pmt, or OUT-1.pmt for one without a name"},
    text_option,
};

// ---- What the options ask for

// One of those that move the model, in the order of the line.
struct step {
    enum class kind { move, center } what;
    movement by;
};

struct wishes {
    movement reading; // --units and --up
    std::vector<step> steps;
    std::optional<int> key;
    std::optional<float> smooth;
    std::optional<std::uint32_t> resolution;
    std::vector<const char*> only;
    bool triangles = false, split = false;
};

movement::numbers wide(const std::array<float, 3>& v) {
    return {double(v[0]), double(v[1]), double(v[2])};
}

// How many white keys are one of the unit.
double white_keys(std::string_view unit) {
    const double millimetres = unit == "mm" ? 1 : unit == "cm" ? 10 : unit == "m" ? 1000 : 25.4;
    return millimetres / white_key_millimetres;
}

// Takes an option. What is wrong with its value, as the sentence that follows its name; empty when nothing
// is.
const char* take(const command_line::given_option& given, wishes& wanted) {
    const std::string_view name = given.row->name;
    const char* const value = given.value;
    std::array<float, 3> three{};
    if (name == "--only") {
        wanted.only.push_back(value);
    } else if (name == "--units") {
        const double factor = white_keys(value);
        wanted.reading = wanted.reading.then(movement::scaling({factor, factor, factor}));
    } else if (name == "--up") {
        if (*value == 'z') wanted.reading = wanted.reading.then(movement::turning({-90, 0, 0}));
    } else if (name == "--scale") {
        if (const std::optional<float> all = number(value))
            three.fill(*all);
        else if (!numbers(value, three))
            return "takes a factor S, or three of them: SX,SY,SZ.";
        if (std::find(three.begin(), three.end(), 0.0f) != three.end())
            return "takes no factor of 0: nothing would be left.";
        wanted.steps.push_back({step::kind::move, movement::scaling(wide(three))});
    } else if (name == "--rotate") {
        if (!numbers(value, three)) return "takes three angles in degrees: X,Y,Z.";
        wanted.steps.push_back({step::kind::move, movement::turning(wide(three))});
    } else if (name == "--translate") {
        if (!numbers(value, three)) return "takes three distances: X,Y,Z.";
        wanted.steps.push_back({step::kind::move, movement::shifting(wide(three))});
    } else if (name == "--center") {
        wanted.steps.push_back({step::kind::center, {}});
    } else if (name == "--fit-key") {
        const std::optional<std::uint64_t> note = whole_number(value);
        if (!note || *note >= models::key_count) return "takes a note, 0 to 127.";
        wanted.key = int(*note);
    } else if (name == "--smooth") {
        wanted.smooth = number(value);
        if (!wanted.smooth || *wanted.smooth < 0 || *wanted.smooth > 180)
            return "takes an angle, 0 to 180 degrees.";
    } else if (name == "--resolution") {
        constexpr std::uint64_t most = 8192;
        static_assert(most * most == pmt3d::nurbs_t::most_vertices);
        const std::optional<std::uint64_t> number = whole_number(value);
        if (!number || *number < 2 || *number > most) return "takes a whole number, 2 to 8192.";
        wanted.resolution = std::uint32_t(*number);
    } else if (name == "--triangles") {
        wanted.triangles = true;
    } else if (name == "--split") {
        wanted.split = true;
    }
    return "";
}

// ---- Doing it

// What the files give, with the pictures that were made for it.
struct input : named_model {
    std::vector<std::shared_ptr<made_pictures>> made;

    bool keep_pictures(const model_output& output) {
        return output.format != pmt3d::file_format::text ||
               std::all_of(made.begin(), made.end(),
                           [&](const auto& pictures) { return pictures->keep(model, output.name); });
    }
};

// Appends the surfaces of a file, with their pictures as seen from the folder of `out`.
bool read(input& all, const command_line& line, const std::string& in, const std::string& out) {
    model_file file(line);
    if (!file.load(in.c_str())) return false;
    move_pictures(file.model, folder_of(in), folder_of(out));
    named_model read;
    for (const pmt3d::model_item_t& item : file.model.items)
        read.names.push_back(item.polygon.name() == in ? std::string() : item.polygon.name());
    read.model = std::move(file.model);
    append(all, std::move(read));
    all.made.push_back(file.made);
    return true;
}

bool has_range(const extent& box) {
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (!std::isfinite(box.size(axis))) return false;
    return true;
}

// All movements as one; nothing, reported, when there is no such.
std::optional<movement> movement_of(const pmt3d::model_t& model, const wishes& wanted) {
    // Bounds are looked at where they count.
    const auto bounds_for = [&](const movement& so_far, const char* option) -> std::optional<extent> {
        const std::optional<extent> box = extent_of(model, so_far);
        if (box && has_range(*box)) return box;
        libutils::report("pmt3d: ", option, ": ",
                         box ? "a coordinate is no number, or too large." : "there is nothing to move.");
        return {};
    };
    movement all = wanted.reading;
    for (const step& s : wanted.steps) {
        if (s.what == step::kind::move) {
            all = all.then(s.by);
            continue;
        }
        const std::optional<extent> box = bounds_for(all, "--center");
        if (!box) return {};
        all = all.then(movement::shifting({-box->middle(0), -box->middle(1), -box->middle(2)}));
    }
    if (!wanted.key) return all;
    const std::optional<extent> box = bounds_for(all, "--fit-key");
    if (!box) return {};
    const std::optional<movement> fit = fit_key(*box, *wanted.key);
    if (!fit) {
        libutils::report("pmt3d: --fit-key: the model has neither width nor length.");
        return {};
    }
    return all.then(*fit);
}

// What a NURBS surface cannot say in a .pmt file becomes triangles.
void make_triangles_where_needed(pmt3d::model_t& model, const wishes& wanted, bool mirrored) {
    for (pmt3d::model_item_t& item : model.items) {
        if (item.kind != pmt3d::model_item_t::kind_t::nurbs) continue;
        const libgr::texture_options& t = item.texture;
        // Its texture coordinates are u and v, which a mirrored one exchanges.
        const bool loses_pictures =
            mirrored && !(t.texture.empty() && t.bumpmap.empty() && t.specular.empty());
        if (wanted.triangles || wanted.key || loses_pictures) make_triangles(item);
    }
}

bool reshape(named_model& all, const wishes& wanted, const pmt3d::progress_t& progress) {
    pmt3d::model_t& model = all.model;
    if (wanted.resolution && !set_resolution(model, *wanted.resolution, allowed_vertices())) return false;
    const std::optional<movement> by = movement_of(model, wanted);
    if (!by) return false;
    make_triangles_where_needed(model, wanted, by->mirrors());
    if (*by != movement() && !move(model, *by))
        return libutils::report("pmt3d: moved so, a coordinate leaves the range of numbers.");
    if (wanted.key) {
        if (!merge_into_one(all)) return false;
        if (touches_neighbours(model, *wanted.key))
            libutils::report("pmt3d: warning: key ", *wanted.key,
                             " reaches into the room of the black keys beside it.");
    }
    return !wanted.smooth || smooth(model, *wanted.smooth, progress);
}

bool save_split(named_model& all, model_output output) {
    pmt3d::model_t one;
    one.environment = all.model.environment;
    for (std::string& name : split_names(all, output.name)) {
        one.items.clear();
        one.items.splice(one.items.end(), all.model.items, all.model.items.begin());
        output.name = std::move(name);
        if (!save_model(one, output)) return false;
    }
    return true;
}

int run(const command_line& line) {
    wishes wanted;
    for (const command_line::given_option& given : line.options)
        if (const std::string wrong = take(given, wanted); !wrong.empty())
            return usage_error(convert, std::string(given.row->name) + ' ' + wrong);
    if (line.operands.size() < 2) return usage_error(convert, "at least two files, IN and OUT, are needed.");
    const std::vector<std::string> ins(line.operands.begin(), line.operands.end() - 1);
    std::string complaint;
    const std::optional<model_output> output = output_of(line.operands.back(), line, complaint);
    if (!output) return usage_error(convert, complaint);
    if (wanted.smooth && output->format == pmt3d::file_format::stl)
        return usage_error(convert, "--smooth is for .pmt: STL files have no such normals.");
    if (std::count(ins.begin(), ins.end(), standard_stream) > 1)
        return usage_error(convert, "standard input can be read only once.");
    if (wanted.split && output->name == standard_stream)
        return usage_error(convert, "--split needs the name of a file.");

    input all;
    for (const std::string& in : ins)
        if (!read(all, line, in, output->name)) return failure;
    if (!wanted.only.empty() && !keep_only(all, wanted.only)) return failure;
    {
        progress_bar bar("reshaping", ins[0]);
        if (!reshape(all, wanted, bar.callback()) || !all.keep_pictures(*output)) return failure;
    }
    return (wanted.split ? save_split(all, *output) : save_model(all.model, *output)) ? success : failure;
}

} // namespace

const subcommand convert = {
    "convert",
    "IN... OUT",
    "convert models of many formats to .pmt and .stl; move, smooth, merge and split models",
    options,
    R"(The ends of the names decide, in capitals as well. - is standard input or output. STL files hold triangles only:
NURBS surfaces are tessellated, colours, pictures, frames and the environment are left out. They are written in binary
form, or as text with --text. Both forms are read: a file that begins with "solid" is text, unless it is as long as a
binary file of its triangle count, or longer without the word "facet".

Other programs' files are read as well: glTF (.gltf, .glb), OBJ with its MTL, PLY, 3MF, Collada (.dae), FBX and OFF, with
colours, normals, texture coordinates and the transforms of their nodes. Missing normals are made smooth across edges
of up to 30 degrees. Colour pictures, normal maps and roughness (its opposite is the specular picture) are kept; what is
inside the file or has to be changed is written beside OUT as OUT-NAME.png, never over another file.

Pictures are not copied: their relative names are changed so that the new file finds them.
OUT is replaced only when all of it could be written.

The surfaces of several INs become one model, with the environment of the first that has one. --units and --up come
first, wherever they stand. --scale, --rotate, --translate and --center follow in the order of the command line, any
number of times, about the point 0,0,0. Then come --fit-key and --smooth.

--fit-key expects the key with its width along x, its length along z toward the player, and its top at the top.
)",
    run,
};

} // namespace tool
