// STL files of any bytes, binary and text: the triangles of what loads survive saving.

#include "pmt3d/format/stl.h"
#include "fuzz/told.h"

#include <cstring>
#include <sstream>

using fuzz::demand;

namespace {

bool load(pmt3d::surface_list& items, const std::string& name, std::string& said) {
    const fuzz::messages err;
    std::ostringstream messages;
    const bool loaded = pmt3d::load_stl(items, name, {messages});
    said = messages.str() + err.text();
    return loaded;
}

// Bit for bit, but text knows only one NaN.
bool same_positions(const pmt3d::polygon_t& a, const pmt3d::polygon_t& b, bool text = false) {
    const auto &from = a.vertices(), &to = b.vertices();
    const auto same = [text](float x, float y) {
        return (text && x != x && y != y) || std::memcmp(&x, &y, sizeof x) == 0;
    };
    return from.size() == to.size() &&
           std::equal(from.begin(), from.end(), to.begin(), [&](const auto& v, const auto& w) {
               return same(v.position.x, w.position.x) && same(v.position.y, w.position.y) &&
                      same(v.position.z, w.position.z);
           });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name = fuzz::input_file("input.stl", data, size);
    std::string said;
    pmt3d::surface_list items;
    const bool loaded = load(items, name, said);
    demand(loaded == said.empty(), "a file is loaded without a word, or refused with one");
    demand(loaded || std::count(said.begin(), said.end(), '\n') == 1, "a refusal is one line");
    fuzz::told told;
    std::ostringstream observed;
    pmt3d::surface_list same;
    demand(pmt3d::load_stl(same, name, {observed, {}, {}, 0, nullptr, &told}) == loaded, "observed or not");
    demand(observed.str() == said, "and with the same words");
    demand(loaded || told.count > 0, "what is not loaded has a reason");
    if (!loaded) return 0;
    demand(items.size() == 1, "a file is one item");
    demand(items.front().polygon.vertex_count() % 3 == 0, "triangles have three corners");

    const std::string copy = fuzz::files().file("copy.stl");
    demand(pmt3d::save_stl(items, copy), "triangles can be saved");
    pmt3d::surface_list again;
    demand(load(again, copy, said) && said.empty(), "what was saved can be loaded");
    demand(same_positions(items.front().polygon, again.front().polygon), "every triangle is still there");

    demand(pmt3d::save_stl_text(items, copy), "triangles can be saved as text");
    pmt3d::surface_list text;
    demand(load(text, copy, said) && said.empty(), "what was saved as text can be loaded");
    demand(same_positions(items.front().polygon, text.front().polygon, true), "exactly");
    return 0;
}
