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

std::optional<file_format> format_of(const std::string& name) {
    if (name.ends_with(".stl")) return file_format::stl;
    if (name.ends_with(".pmt")) return file_format::text;
    libutils::report("file extension not recognized.");
    return {};
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
                          const std::string& name, line_reader& in, const load_context& context) {
    in.skip_byte_order_mark();
    in.set_progress(context.progress);
    vertex_limit vertices(in.size(), context.allowed_vertices);
    const auto read_block = [&]() -> std::optional<bool> {
        const std::string_view line = in.line();
        if (environment && line.starts_with(environment_header))
            return read_environment_block(*environment, in, context.error, context.observer) &&
                   open_pictures(*environment, context);
        const auto kind = surface_kind(line);
        if (!kind) return std::nullopt;
        model_item_t& item = items.emplace_back(*kind);
        return read_surface_block(name, item, items.size(), context.frames, vertices, in, context.error,
                                  context.observer) &&
               open_pictures(item, context);
    };
    return read_blocks(in, context.error, read_block, context.observer);
}

std::uint64_t load_blocks(libgr::environment_options* environment, surface_list& items,
                          const std::string& name, const load_context& context) {
    if (line_reader in; in.open(name)) return load_blocks(environment, items, name, in, context);
    if (context.observer) context.observer->left_out({}, "file open error.");
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

void write_model(model_t& model, const std::string& name, line_writer& out) {
    write_environment(model.environment, out);
    if (!model.environment.cubetex.empty()) out.end_line();
    save_items(model.items, name, out);
}

// What the three saves have in common: a whole model's triangles are those of its items.
template <class What, class Triangles>
bool save_in(std::optional<file_format> format, What& what, const Triangles& triangles,
             const std::string& name, const progress_t& progress) {
    if (!format) return false;
    return format == file_format::stl ? save_stl(triangles, name, progress) : save_text(what, name, progress);
}

} // namespace

bool load(model_t& model, const std::string& name, const load_context& context) {
    const std::optional<file_format> format = format_of(name);
    return format && load_as(model, *format, name, context);
}

bool load_as(model_t& model, file_format format, const std::string& name, const load_context& context) {
    if (context.pictures) context.pictures->begin(name);
    if (format == file_format::text) return load_text(model, name, context);
    return load_stl(model.items, name, context) && open_pictures(model.items.back(), context);
}

bool load_as(model_t& model, file_format format, const std::string& name, std::string_view bytes,
             const load_context& context) {
    if (context.pictures) context.pictures->begin(name);
    line_reader in(bytes);
    if (format == file_format::text)
        return load_blocks(&model.environment, model.items, name, in, context) > 0;
    return read_stl(model.items, name, in, context) && open_pictures(model.items.back(), context);
}

bool save(model_t& model, const std::string& name, const progress_t& progress) {
    return save_in(format_of(name), model, model.items, name, progress);
}

bool save(surface_list& items, const std::string& name, const progress_t& progress) {
    return save_in(format_of(name), items, items, name, progress);
}

bool save(model_item_t& item, const std::string& name, const progress_t& progress) {
    return save_in(format_of(name), item, item, name, progress);
}

bool save_as(model_t& model, file_format format, const std::string& name, const progress_t& progress) {
    return save_in(format, model, model.items, name, progress);
}

bool write_as(model_t& model, file_format format, const std::string& name, const byte_sink& sink,
              const progress_t& progress) {
    if (format == file_format::stl) return write_stl(model.items, name, sink, progress);
    line_writer out(sink, progress, lines_of(model.items));
    write_model(model, name, out);
    return out.flush();
}

bool load_text(model_t& model, const std::string& name, const load_context& context) {
    return load_blocks(&model.environment, model.items, name, context) > 0;
}

std::uint64_t load_surface_list(surface_list& items, const std::string& name, const load_context& context) {
    libutils::report_to(context.error, "load filename: " + name);
    return load_blocks(nullptr, items, name, context);
}

bool save_text(model_t& model, const std::string& name, const progress_t& progress) {
    return save_lines(name, progress, lines_of(model.items),
                      [&](line_writer& out) { write_model(model, name, out); });
}

bool save_text(surface_list& items, const std::string& name, const progress_t& progress) {
    return save_lines(name, progress, lines_of(items),
                      [&](line_writer& out) { save_items(items, name, out); });
}

bool save_text(model_item_t& item, const std::string& name, const progress_t& progress) {
    return save_lines(name, progress, lines_of(item), [&](line_writer& out) { save_item(item, name, out); });
}

} // namespace pmt3d
