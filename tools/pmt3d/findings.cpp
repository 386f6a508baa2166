#include "findings.h"

#include "libgr/texture/texture_table.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <tuple>
#include <utility>

namespace tool {

// Without what moves a terminal's cursor, and not longer than can be read.
static std::string readable(std::string_view text) {
    constexpr std::size_t longest = 200;
    std::string line(text.substr(0, longest));
    if (text.size() > longest) {
        while (!line.empty() && (text[line.size()] & 0xC0) == 0x80) // within a character
            line.pop_back();
        line += "...";
    }
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return line;
}

void findings::left_out(const pmt3d::file_place& place, std::string_view text) {
    if (count_++ < most_) kept_.push_back({place, readable(text)});
}

void findings::named_picture(std::uint64_t line, std::string_view path) {
    constexpr std::size_t most_pictures = 65536; // a file of nothing but names must not fill the memory
    if (lines_.size() < most_pictures) lines_.insert_or_assign(std::string(path), line);
}

void findings::begin(const std::string& model_file) {
    model_file_ = model_file;
    pictures_.begin(model_file);
}

// Opens pictures and returns what that writes on standard error.
template <class Open>
static std::vector<std::string> lines_of(Open&& open) {
    std::ostringstream said;
    std::streambuf* const before = std::cerr.rdbuf(said.rdbuf());
    open();
    std::cerr.rdbuf(before);
    std::vector<std::string> lines;
    std::istringstream in(said.str());
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

void findings::open_surface(const libgr::texture_options& options) {
    const std::vector<std::string> said = lines_of([&] { pictures_.open_surface(options); });
    libgr::texture_t& opened = pictures_.surfaces.back();
    const std::pair<const std::string&, render::texture_unit> pictures[] = {
        {options.texture, render::texture_unit::color},
        {options.bumpmap, render::texture_unit::bump},
        {options.specular, render::texture_unit::specular}};
    for (const auto& [path, unit] : pictures) {
        if (path.empty()) continue;
        const std::string start = libgr::picture_path(model_file_, path) + ": ";
        const auto why = std::find_if(said.begin(), said.end(),
                                      [&](const std::string& line) { return line.starts_with(start); });
        if (why == said.end() && opened.record(unit)) continue;
        const auto line = lines_.find(path);
        left_out({line == lines_.end() ? 0 : line->second},
                 "picture " + path + ": " +
                     (why == said.end() ? "cannot be loaded." : why->substr(start.size())));
    }
}

bool findings::open_environment(const libgr::environment_options& options) {
    bool opened = false;
    const std::vector<std::string> said = lines_of([&] { opened = pictures_.open_environment(options); });
    const auto line = lines_.find(options.cubetex);
    const pmt3d::file_place place = {line == lines_.end() ? 0 : line->second};
    for (const std::string& text : said)
        left_out(place, "picture " + text);
    if (!opened && said.empty()) left_out(place, "picture " + options.cubetex + ": cannot be loaded.");
    return opened;
}

std::vector<finding> findings::take() {
    const auto rank = [](const pmt3d::file_place& p) { // what is said of the whole file comes last
        return std::tuple(p.line == 0 && p.byte == 0, p.line, p.byte);
    };
    std::stable_sort(kept_.begin(), kept_.end(),
                     [&](const finding& a, const finding& b) { return rank(a.place) < rank(b.place); });
    return std::move(kept_);
}

} // namespace tool
