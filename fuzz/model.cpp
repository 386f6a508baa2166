// Model files of any bytes, with all their blocks: what loads can be saved, and what is saved loads the same.

#include "fuzz/told.h"
#include "pmt3d/format/dispatch.h"

#include <cstring>
#include <sstream>
#include <vector>

using fuzz::demand;

namespace {

// Pictures that models can name: a plain file, and the faces of a cube.
bool write_pictures() {
    std::string picture(18, '\0'); // a TGA header: true colour, 2 by 2, 24 bits
    picture[2] = picture[12] = picture[14] = 2;
    picture[16] = 24;
    picture += "abcdefghijkl";
    for (const char* name : {"t", "t_posx", "t_negx", "t_posy", "t_negy", "t_posz", "t_negz"})
        fuzz::files().write(name + std::string(".tga"), picture);
    return true;
}

// Whether a surface asks for a finer tessellation than there is time for; large ones are legal, and much
// larger ones are refused at once.
bool takes_too_long(std::string_view text) {
    constexpr std::string_view key = "resolution";
    for (std::size_t at = text.find(key); at != text.npos; at = text.find(key, at + 1)) {
        int digits = 0;
        for (std::size_t i = at; i < text.size() && text[i] != '\n'; ++i)
            digits += text[i] >= '0' && text[i] <= '9';
        if (digits > 4 && digits < 9) return true;
    }
    return false;
}

bool load(pmt3d::model_t& model, const std::string& name, std::string& said) {
    const fuzz::messages err;
    std::ostringstream messages;
    const bool loaded = pmt3d::load(model, name, {messages});
    said = messages.str() + err.text();
    std::ostringstream observed;
    fuzz::told told;
    pmt3d::model_t same;
    demand(pmt3d::load(same, name, {observed, {}, {}, 0, nullptr, &told}) == loaded, "observed or not");
    demand(observed.str() == messages.str(), "and with the same words");
    demand(told.count > 0 || (loaded && messages.str().empty()), "all that was left out was told");
    return loaded;
}

// The lines of a saved file that loading it must not change. The sign of a zero may: an expression has no
// negative zero. Blank lines may: a surface without vertices leaves one and does not come back. So may the
// rest of a frame whose normal is zero: the reader makes it anew from the positions, which were rounded when
// they were saved.
std::vector<std::string> lasting_lines(const std::string& name) {
    std::vector<std::string> lines;
    std::istringstream text(test_support::read_file(name));
    for (std::string line; std::getline(text, line);) {
        for (std::size_t at = line.find("-0"); at != line.npos; at = line.find("-0", at + 1))
            if (std::strchr(" ,", line[at - 1]) && std::strchr(",\r", line[at + 2])) line.erase(at, 1);
        if (line == "normal 0,0,0\r") lines.resize(lines.size() - 2);
        if (line != "\r") lines.push_back(line);
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
    if (takes_too_long({reinterpret_cast<const char*>(data), size})) return 0;
    [[maybe_unused]] static const bool written = write_pictures();
    const std::string name = fuzz::input_file("input.pmt", data, size);
    const std::string first = fuzz::files().file("first.pmt"), second = fuzz::files().file("second.pmt");
    std::filesystem::remove(first);

    std::string said;
    pmt3d::model_t model;
    const bool loaded = load(model, name, said);
    check(model);
    if (!loaded) return 0;
    bool saved = false;
    {
        const fuzz::messages messages;
        saved = pmt3d::save(model, first);
        demand(saved ? messages.text().empty() : messages.lines() == 1,
               "a save succeeds, or says once why not");
        demand(saved == std::filesystem::exists(first), "a save that fails leaves nothing");
    }
    if (!saved) return 0;
    // Neither the plain environment nor a surface without vertices is worth a block, and a file without
    // blocks is no model.
    const auto surfaces = std::count_if(model.items.begin(), model.items.end(), [](const auto& item) {
        return item.kind == pmt3d::model_item_t::kind_t::nurbs || item.polygon.vertex_count() > 0;
    });
    if (surfaces == 0 && model.environment.cubetex.empty()) return 0;
    pmt3d::model_t again;
    const bool reloaded = load(again, first, said);
    demand(reloaded, ("what was saved can be loaded: " + said).c_str());
    demand(std::ssize(again.items) == surfaces, "with every surface");
    {
        const fuzz::messages messages;
        demand(pmt3d::save(again, second), "and saved once more");
    }
    const std::vector<std::string> lines = lasting_lines(first), lines_again = lasting_lines(second);
    const auto differing = std::mismatch(lines.begin(), lines.end(), lines_again.begin(), lines_again.end());
    demand(differing.first == lines.end() && differing.second == lines_again.end(),
           ("to the same text, but for: " + (differing.first == lines.end() ? "more" : *differing.first))
               .c_str());
    return 0;
}
