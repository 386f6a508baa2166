#include "model_file.h"

#include "libutils/report.h"
#include "pmt3d/format/stl_form.h"
#include "progress_bar.h"
#include "render/math/operations.h"
#include "standard_streams.h"
#include "tools/pmt3d/import/endings.h"
#include "tools/pmt3d/import/import.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <sstream>
#include <string_view>

namespace tool {

using libutils::report;
using pmt3d::file_format;

static std::uint64_t vertices_allowed = 0;

void allow_vertices(std::uint64_t vertices) {
    vertices_allowed = vertices;
}

std::uint64_t allowed_vertices() {
    return vertices_allowed;
}

std::optional<file_format> format_of_model(const std::string& name) {
    const auto ends_with = [&](std::string_view ending) {
        return name.size() >= ending.size() &&
               std::equal(ending.rbegin(), ending.rend(), name.rbegin(),
                          [](char wanted, unsigned char c) { return wanted == std::tolower(c); });
    };
    if (ends_with(".stl")) return file_format::stl;
    if (ends_with(".pmt")) return file_format::text;
    return {};
}

// The text format has no zeros and begins with a word, a comment or an empty line.
static file_format format_of_bytes(std::string_view bytes) {
    if (pmt3d::is_text_stl(bytes)) return file_format::stl;
    return bytes.substr(0, pmt3d::stl_prefix).find('\0') == bytes.npos ? file_format::text : file_format::stl;
}

model_file::model_file(const command_line& line) {
    if (const char* const from = line.value("--from"))
        format = *from == 's' ? file_format::stl : file_format::text;
}

namespace {

// While it lives, the lines that are written to standard error go to an observer, where there is one.
class observed_errors {
public:
    explicit observed_errors(pmt3d::load_observer* observer) : observer_(observer) {
        if (observer_) before_ = std::cerr.rdbuf(said_.rdbuf());
    }
    ~observed_errors() {
        if (!observer_) return;
        std::cerr.rdbuf(before_);
        for (std::string line; std::getline(said_, line);)
            observer_->left_out({}, line);
    }
    observed_errors(const observed_errors&) = delete;
    observed_errors& operator=(const observed_errors&) = delete;

private:
    pmt3d::load_observer* observer_;
    std::stringstream said_;
    std::streambuf* before_ = nullptr;
};

} // namespace

bool model_file::load(const char* name, const pmt3d::frame_update& frames) {
    progress_bar bar("reading", name);
    const observed_errors errors(observer);
    std::ostream silence(nullptr);
    const bool imported = !format && !imported_ending(name).empty();
    // The observer of our own readers is told all that they say, and of the others what reaches std::cerr.
    const pmt3d::load_context context = {observer && !imported ? silence : std::cerr,
                                         frames,
                                         bar.callback(),
                                         vertices_allowed,
                                         opener,
                                         observer};
    if (imported) return import_model(model, name, *made, context) == import_end::done;
    std::optional<file_format> is = format ? format : format_of_model(name);
    bool loaded = false;
    if (name == standard_stream) {
        std::string bytes;
        if (!read_standard_input(bytes)) return false;
        if (!is) is = format_of_bytes(bytes);
        loaded = pmt3d::load_as(model, *is, name, bytes, context);
    } else if (is)
        loaded = pmt3d::load_as(model, *is, name, context);
    else
        report("file extension not recognized.");
    if (!loaded) return !observer && report("pmt3d: ", name, ": not loaded.");
    // Perhaps no STL file at all, or one that has been cut short.
    if (is == file_format::stl && model.items.back().polygon.element_count() == 0)
        report("pmt3d: warning: ", name, " has no facet.");
    return true;
}

std::optional<render::box3> bounds(const pmt3d::model_t& model) {
    std::optional<render::box3> box;
    for (const pmt3d::model_item_t& item : model.items)
        render::enclose(box, item.polygon.bounds());
    return box;
}

} // namespace tool
