#include "pmt3d/format/dispatch.h"

#include "libutils/report.h"
#include "pmt3d/format/file_saver.h"
#include "pmt3d/format/line_reader.h"
#include "pmt3d/format/stl.h"
#include "pmt3d/format/text_reader.h"
#include "pmt3d/format/text_writer.h"
#include "pmt3d/format/vertex_limit.h"

namespace pmt3d {

namespace {

enum class format { stl, text, unknown };

format format_of(const std::string& name) {
    if (name.ends_with(".stl")) return format::stl;
    if (name.ends_with(".pmt")) return format::text;
    libutils::report("file extension not recognized.");
    return format::unknown;
}

bool open_pictures(const model_item_t& item, const load_context& context) {
    if (context.pictures) context.pictures->open_surface(item.texture);
    return true;
}

bool open_pictures(const libgr::environment_options& environment, const load_context& context) {
    return !context.pictures || context.pictures->open_environment(environment) ||
           libutils::report_to(context.error, "environment.initex() failed.");
}

// The blocks of a file, into the list and, where there is one, the environment. Their number; 0 when one
// failed.
std::uint64_t load_blocks(libgr::environment_options* environment, surface_list& items,
                          const std::string& name, const load_context& context) {
    if (line_reader in; in.open(name)) {
        in.set_progress(context.progress);
        vertex_limit vertices(in.size(), context.allowed_vertices);
        return read_blocks(in, context.error, [&]() -> std::optional<bool> {
            const std::string_view line = in.line();
            if (environment && line.starts_with(environment_header))
                return read_environment_block(*environment, in, context.error) &&
                       open_pictures(*environment, context);
            const auto kind = surface_kind(line);
            if (!kind) return std::nullopt;
            model_item_t& item = items.emplace_back(*kind);
            return read_surface_block(name, item, items.size(), context.frames, vertices, in,
                                      context.error) &&
                   open_pictures(item, context);
        });
    }
    libutils::report_to(context.error, name, ": file open error.");
    return 0;
}

// Names the surface after the file and writes it.
void save_item(model_item_t& item, const std::string& name, line_writer& out) {
    item.polygon.set_name(name);
    if (item.kind == model_item_t::kind_t::nurbs) {
        item.nurbs.set_name(name);
        write_nurbs(item.texture, item.nurbs, out);
    } else
        write_polygon(item.texture, item.polygon, out);
}

std::uint64_t lines_of(const model_item_t& item) {
    if (item.kind == model_item_t::kind_t::nurbs)
        return item.nurbs.knots1().size() + item.nurbs.knots2().size() + 2 * item.nurbs.weights().size();
    return 5 * item.polygon.vertex_count() + item.polygon.element_count();
}

std::uint64_t lines_of(const surface_list& items) {
    std::uint64_t lines = 0;
    for (const model_item_t& item : items)
        lines += lines_of(item);
    return lines;
}

void save_items(surface_list& items, const std::string& name, line_writer& out) {
    for (model_item_t& item : items) {
        save_item(item, name, out);
        out.end_line();
        if (!out.good()) return;
    }
}

// Opens the file, lets `write` fill it, and puts it in place when all went well.
template <class Write>
bool save_lines(const std::string& name, const progress_t& progress, std::uint64_t lines, Write&& write) {
    file_saver file(name);
    if (!file.is_open()) return false;
    line_writer out([&](std::string_view text) { return file.write(text); }, progress, lines);
    write(out);
    out.flush();
    return !out.refused() && file.commit();
}

} // namespace

bool load(model_t& model, const std::string& name, const load_context& context) {
    if (context.pictures) context.pictures->begin(name);
    switch (format_of(name)) {
    case format::stl:
        return load_stl(model.items, name, context) && open_pictures(model.items.back(), context);
    case format::text:
        return load_text(model, name, context);
    default:
        return false;
    }
}

// What the three saves have in common: a whole model's triangles are those of its items.
template <class What, class Triangles>
static bool save_as(What& what, const Triangles& triangles, const std::string& name,
                    const progress_t& progress) {
    switch (format_of(name)) {
    case format::stl:
        return save_stl(triangles, name, progress);
    case format::text:
        return save_text(what, name, progress);
    default:
        return false;
    }
}

bool save(model_t& model, const std::string& name, const progress_t& progress) {
    return save_as(model, model.items, name, progress);
}

bool save(surface_list& items, const std::string& name, const progress_t& progress) {
    return save_as(items, items, name, progress);
}

bool save(model_item_t& item, const std::string& name, const progress_t& progress) {
    return save_as(item, item, name, progress);
}

bool load_text(model_t& model, const std::string& name, const load_context& context) {
    return load_blocks(&model.environment, model.items, name, context) > 0;
}

std::uint64_t load_surface_list(surface_list& items, const std::string& name, const load_context& context) {
    libutils::report_to(context.error, "load filename: " + name);
    return load_blocks(nullptr, items, name, context);
}

bool save_text(model_t& model, const std::string& name, const progress_t& progress) {
    return save_lines(name, progress, lines_of(model.items), [&](line_writer& out) {
        write_environment(model.environment, out);
        if (!model.environment.cubetex.empty()) out.end_line();
        save_items(model.items, name, out);
    });
}

bool save_text(surface_list& items, const std::string& name, const progress_t& progress) {
    return save_lines(name, progress, lines_of(items),
                      [&](line_writer& out) { save_items(items, name, out); });
}

bool save_text(model_item_t& item, const std::string& name, const progress_t& progress) {
    return save_lines(name, progress, lines_of(item), [&](line_writer& out) { save_item(item, name, out); });
}

} // namespace pmt3d
