// STL files of any bytes, binary and text: the triangles of what loads survive saving.

#include "pmt3d/format/stl.h"
#include "fuzz/told.h"

#include <cstring>
#include <sstream>
#include <vector>

using fuzz::demand;

namespace {

// An STL file: in memory, or on the disk under its name.
struct stl_file {
    std::string name, bytes;
    bool on_disk;

    bool load(pmt3d::surface_list& items, const pmt3d::load_context& context) const {
        if (on_disk) return pmt3d::load_stl(items, name, context);
        const std::vector<char> exact(bytes.begin(), bytes.end()); // with no zero behind it
        pmt3d::line_reader in(std::string_view(exact.data(), exact.size()));
        return pmt3d::read_stl(items, name, in, context);
    }
    bool save(const pmt3d::surface_list& items, bool as_text) {
        if (on_disk) return as_text ? pmt3d::save_stl_text(items, name) : pmt3d::save_stl(items, name);
        bytes.clear();
        const auto keep = [this](std::string_view piece) { return bytes += piece, true; };
        return as_text ? pmt3d::write_stl_text(items, name, keep) : pmt3d::write_stl(items, name, keep);
    }
};

// Bit for bit, but text knows only one NaN.
bool same_positions(const pmt3d::polygon_t& a, const pmt3d::polygon_t& b, bool text) {
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
    const bool on_disk = fuzz::goes_through_files(data, size);
    const stl_file file{
        fuzz::files().file("input.stl"), {reinterpret_cast<const char*>(data), size}, on_disk};
    if (on_disk) fuzz::input_file("input.stl", data, size);
    fuzz::messages err;
    std::ostringstream said, observed;
    pmt3d::surface_list items;
    const bool loaded = file.load(items, {said});
    demand(err.text().empty(), "what is said is said to the caller");
    demand(std::count(said.view().begin(), said.view().end(), '\n') == !loaded,
           "a file is loaded without a word, or refused in one line");
    fuzz::told told;
    pmt3d::surface_list same;
    demand(file.load(same, {observed, {}, {}, 0, nullptr, &told}) == loaded, "observed or not");
    demand(observed.view() == said.view(), "and with the same words");
    demand(loaded || told.count > 0, "what is not loaded has a reason");
    if (!loaded) return 0;
    demand(items.size() == 1, "a file is one item");
    demand(items.front().polygon.vertex_count() % 3 == 0, "triangles have three corners");

    stl_file copy{fuzz::files().file("copy.stl"), {}, on_disk};
    for (const bool as_text : {false, true}) {
        demand(copy.save(items, as_text), "triangles can be saved");
        pmt3d::surface_list again;
        demand(copy.load(again, {std::cerr}), "what was saved can be loaded");
        demand(same_positions(items.front().polygon, again.front().polygon, as_text),
               "every triangle is still there");
    }
    demand(err.text().empty(), "all of it without a word");
    return 0;
}
