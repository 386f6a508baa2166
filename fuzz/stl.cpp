// STL files of any bytes, binary and text: the triangles of what loads survive saving.

#include "pmt3d/format/stl.h"
#include "fuzz/target.h"

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

// Bit for bit, as positions may be no numbers.
bool same_positions(const pmt3d::polygon_t& a, const pmt3d::polygon_t& b) {
    const auto &from = a.vertices(), &to = b.vertices();
    return from.size() == to.size() &&
           std::equal(from.begin(), from.end(), to.begin(), [](const auto& v, const auto& w) {
               return std::memcmp(&v.position, &w.position, sizeof v.position) == 0;
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
    if (!loaded) return 0;
    demand(items.size() == 1, "a file is one item");
    demand(items.front().polygon.vertex_count() % 3 == 0, "triangles have three corners");

    const std::string copy = fuzz::files().file("copy.stl");
    demand(pmt3d::save_stl(items, copy), "triangles can be saved");
    pmt3d::surface_list again;
    demand(load(again, copy, said) && said.empty(), "what was saved can be loaded");
    demand(same_positions(items.front().polygon, again.front().polygon), "every triangle is still there");

    const fuzz::messages messages;
    const bool saved = pmt3d::save_stl_text(items, copy);
    demand(messages.lines() == !saved, "text is saved without a word, or refused in one line");
    if (!saved) return 0;
    pmt3d::surface_list text;
    demand(load(text, copy, said) && said.empty(), "what was saved as text can be loaded");
    demand(text.front().polygon.vertex_count() == items.front().polygon.vertex_count(), "all of it");
    return 0;
}
