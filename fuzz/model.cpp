// Model files of any bytes, with all their blocks: what loads can be saved, and what is saved loads the same.

#include "fuzz/told.h"
#include "libutils/number.h"
#include "pmt3d/format/dispatch.h"

#include <cstring>
#include <sstream>
#include <vector>

using fuzz::demand;

namespace {

// Whether the surfaces together ask for a finer tessellation than there is time for. Larger ones are legal,
// and much larger ones are refused at once.
bool takes_too_long(const std::string& text) {
    constexpr std::string_view key = "resolution";
    constexpr std::uint64_t most = 1600, refused = std::uint64_t(1) << 21;
    std::uint64_t vertices = 0;
    for (std::size_t at = text.find(key); at != text.npos; at = text.find(key, at + 1)) {
        const char* end = nullptr;
        const std::uint64_t u = libutils::read_unsigned(text.c_str() + at + key.size(), &end);
        const std::uint64_t v = libutils::read_unsigned(end + (*end == ','));
        const std::uint64_t asked = u * v;
        if (asked <= refused + 4 * text.size()) vertices += asked;
    }
    return vertices > most;
}

// A model file: in memory, or on the disk under its name.
struct model_file {
    std::string name, text;
    bool on_disk;

    bool load(pmt3d::model_t& model, const pmt3d::load_context& context) const {
        if (on_disk) return pmt3d::load(model, name, context);
        // Of exactly that size, with no zero behind it.
        const std::vector<char> bytes(text.begin(), text.end());
        return pmt3d::load_as(model, pmt3d::file_format::text, name, {bytes.data(), bytes.size()}, context);
    }
    bool save(pmt3d::model_t& model, fuzz::messages& said) {
        said.take();
        bool saved = false;
        if (on_disk) {
            std::filesystem::remove(name);
            saved = pmt3d::save(model, name);
            demand(saved == std::filesystem::exists(name), "a save that fails leaves nothing");
            text = test_support::read_file(name);
        } else {
            const auto keep = [this](std::string_view piece) { return text += piece, true; };
            saved = pmt3d::write_as(model, pmt3d::file_format::text, name, keep);
        }
        demand(said.lines() == !saved, "a save succeeds without a word, or says once why not");
        return saved;
    }
};

// With the observer's and the caller's words; without the observer it is the same, which one in four is
// asked.
bool load_observed(pmt3d::model_t& model, const model_file& file, bool ask_both) {
    std::ostringstream observed;
    fuzz::told told;
    const bool loaded = file.load(model, {observed, {}, {}, 0, nullptr, &told});
    demand(told.count > 0 || (loaded && observed.view().empty()), "all that was left out was told");
    if (!ask_both) return loaded;
    std::ostringstream messages;
    pmt3d::model_t same;
    demand(file.load(same, {messages}) == loaded, "observed or not");
    demand(observed.view() == messages.view(), "and with the same words");
    return loaded;
}

// The lines of a saved file that loading it must not change. The sign of a zero may: an expression has no
// negative zero. Blank lines may: a surface without vertices leaves one and does not come back. So may the
// rest of a frame whose normal is zero: the reader makes it anew from the positions, which were rounded when
// they were saved.
std::vector<std::string> lasting_lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        std::string line(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        for (std::size_t at = line.find("-0"); at != line.npos; at = line.find("-0", at + 1))
            if (std::strchr(" ,", line[at - 1]) && std::strchr(",\r", line[at + 2])) line.erase(at, 1);
        if (line == "normal 0,0,0\r") lines.resize(lines.size() - 2);
        if (line != "\r") lines.push_back(std::move(line));
    }
    return lines;
}

// Every index that a surface draws with is one of its vertices, or is passed over when it is drawn.
void check(const pmt3d::model_t& model) {
    for (const pmt3d::model_item_t& item : model.items) {
        demand(item.polygon.vertices().size() == item.polygon.normals().size(), "each vertex has a frame");
        render::pos3 low{}, high{};
        item.polygon.getbound(low, high);
        item.nurbs.getbound(low, high);
        for (std::uint64_t id = 0; id < item.polygon.polyid_count(); ++id) {
            const pmt3d::polyid_t triangle = item.polygon.polyid(id);
            if (triangle.start == pmt3d::polyid_t::none) continue;
            demand(triangle.start + 2 < item.polygon.element_count(), "a triangle lies in the index list");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const bool on_disk = fuzz::goes_through_files(data, size);
    const model_file file{
        fuzz::files().file("input.pmt"), {reinterpret_cast<const char*>(data), size}, on_disk};
    if (takes_too_long(file.text)) return 0;
    if (on_disk) fuzz::input_file("input.pmt", data, size);

    fuzz::messages said;
    pmt3d::model_t model;
    const bool loaded = load_observed(model, file, fuzz::is_one_in(4, data, size));
    check(model);
    if (!loaded) return 0;
    model_file first{fuzz::files().file("first.pmt"), {}, on_disk}, second = first;
    if (!first.save(model, said)) return 0;
    // Neither the plain environment nor a surface without vertices is worth a block, and a file without
    // blocks is no model.
    const auto surfaces = std::count_if(model.items.begin(), model.items.end(), [](const auto& item) {
        return item.kind == pmt3d::model_item_t::kind_t::nurbs || item.polygon.vertex_count() > 0;
    });
    if (surfaces == 0 && model.environment.cubetex.empty()) return 0;
    pmt3d::model_t again;
    const bool reloaded = first.load(again, {std::cerr});
    demand(reloaded, ("what was saved can be loaded: " + said.text()).c_str());
    demand(std::ssize(again.items) == surfaces, "with every surface");
    demand(second.save(again, said), "and saved once more");
    if (first.text == second.text) return 0;
    const std::vector<std::string> lines = lasting_lines(first.text),
                                   lines_again = lasting_lines(second.text);
    const auto differing = std::mismatch(lines.begin(), lines.end(), lines_again.begin(), lines_again.end());
    demand(differing.first == lines.end() && differing.second == lines_again.end(),
           ("to the same text, but for: " + (differing.first == lines.end() ? "more" : *differing.first))
               .c_str());
    return 0;
}
