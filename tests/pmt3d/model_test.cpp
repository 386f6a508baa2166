// Whole models: loading, saving, and both ways at once.
#include "libutils/parallel.h"
#include "pmt3d/format/dispatch.h"
#include "pmt3d/format/stl.h"
#include "pmt3d/format/text_writer.h"

#include "pmt3d/loading.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <regex>

namespace {

namespace fs = std::filesystem;
using pmt3d::model_item_t;
using pmt3d::model_t;
using pmt3d::surface_list;
using test_support::read_file;
using kind_t = model_item_t::kind_t;

class model : public loading {
protected:
    bool load(model_t& into, const std::string& name) { return pmt3d::load(into, name, {std::cerr}); }
    std::string written(model_item_t item) {
        const std::string name = directory_.file("written.pmt");
        EXPECT_TRUE(pmt3d::save(item, name));
        return read_file(name);
    }
};

model_item_t triangle() {
    model_item_t item;
    item.polygon.allocate(3, 4);
    const render::pos3 corners[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    for (pmt3d::element_t i = 0; i < 3; ++i) {
        item.polygon.edit_vertices()[i] = {corners[i], {1, 0, 0, 1}, {0.5f, 1.0f / 3.0f}};
        item.polygon.edit_elements()[i] = i;
    }
    item.polygon.edit_elements()[3] = 4000000000u; // ends the strip as well
    item.polygon.rebuildpolyids("made");
    return item;
}

model_item_t patch() {
    model_item_t item(kind_t::nurbs);
    item.nurbs.allocate(2, 2, 2, 1);
    std::ranges::copy(std::vector<float>{0, 0, 1, 1, 0, 0, 1, 1}, item.nurbs.knots1().begin());
    std::ranges::copy(std::vector<float>{0, 0.5f, 1, 0, 0.25f, 1}, item.nurbs.knots2().begin());
    std::ranges::fill(item.nurbs.weights(), 1.5f);
    for (int i = 0; i < 4; ++i)
        item.nurbs.points()[i] = {{float(i % 2), float(i / 2), 1e-7f}, {1, 0, 0, i < 2 ? 1.0f : 0.0f}};
    item.nurbs.set_resolution(3, 2);
    item.nurbs.afterload("made");
    item.nurbs.MakeVertices5(item.polygon);
    item.nurbs.updateVertices(item.polygon);
    return item;
}

TEST_F(model, every_key_is_read_and_saved) {
    const std::string data = QUENVAREL_TEST_DATA "/models/", name = directory_.file("x.pmt");
    model_t m;
    EXPECT_TRUE(load(m, data + "every key.pmt"));
    EXPECT_TRUE(pmt3d::save(m, name));
    const std::string expected = read_file(data + "every key saved.pmt");
    EXPECT_EQ(read_file(name), std::regex_replace(expected, std::regex("\n"), "\r\n"));
    ASSERT_EQ(m.items.size(), 2u);
    const auto v = m.items.front().polygon.vertices();
    EXPECT_EQ(v[1].color.r, 2.0f) << "floats are not clamped";
    EXPECT_FALSE(std::signbit(v[1].position.z)) << "a sum that begins with 0";
    EXPECT_EQ(v[2].color.g, 8 * 0.003921569f);
    EXPECT_EQ(m.items.front().polygon.polyid(0).start, 0u);
    const pmt3d::polygon_t& grid = m.items.back().polygon;
    ASSERT_TRUE(grid.vertex_count() == 6 && grid.element_count() == 7);
    EXPECT_EQ(grid.vertices()[1].texcoord, (render::txc2{0.5f, 0}));
    EXPECT_FLOAT_EQ(grid.vertices()[1].position.x, 0.5f);
    EXPECT_GT(grid.normals()[1].normal.z, 0.9f);

    // What it has saved it loads, and saves the same; without a picture there is no environment.
    model_t again;
    const auto frames = [](pmt3d::polygon_t& polygon) { polygon.edit_normals()[0].normal.x = 7; };
    EXPECT_EQ(done(pmt3d::load(again, name, {.error = std::cerr, .frames = frames})), "");
    EXPECT_EQ(again.items.back().polygon.normals()[0].normal.x, 7.0f);
    const auto saved = [&] { return pmt3d::save(again, name) ? read_file(name) : "not saved"; };
    const std::string once = read_file(name);
    EXPECT_EQ(saved(), once);
    again.environment.cubetex.clear();
    EXPECT_TRUE(saved().starts_with("begin polygon_surface,7,"));
    again.items.front().polygon.clear();
    again.items.back().nurbs.clear();
    EXPECT_EQ(saved(), "\r\n\r\n") << "surfaces without vertices are lost";
}

TEST_F(model, what_could_not_be_read_back_is_not_saved) {
    const float inf = std::numeric_limits<float>::infinity();
    const std::string name = directory_.write("old.pmt", "old"),
                      refusal = "\" could not be read back, nothing is saved.\n";
    const std::pair<void (*)(model_item_t&), const char*> cases[] = {
        {[](auto& i) { i.polygon.edit_vertices()[1].position.y = INFINITY; }, "position 1,inf,0"},
        {[](auto& i) { i.polygon.edit_vertices()[0].texcoord.s = -NAN; }, "texcoord -nan,0.333333"},
        {[](auto& i) { i.polygon.edit_normals()[2].normal.x = -INFINITY; }, "normal -inf,-0,1"},
        {[](auto& i) { i.texture.aniso = INFINITY, i.texture.texture = "x"; }, "aniso inf"},
        {[](auto& i) { i.texture.texture = "a\nend"; }, "texture a?end"},
        {[](auto& i) { i.texture.specular = "a\r"; }, "specular a?"},
    };
    for (const auto& [change, line] : cases) {
        model_item_t item = triangle();
        change(item);
        EXPECT_EQ(refused(pmt3d::save(item, name)), '"' + (line + refusal));
        EXPECT_EQ(read_file(name), "old");
    }
    // The line is told alone, also the first of a piece.
    pmt3d::line_writer out([](std::string_view) { return true; });
    for (int line = 0; line < 65536 / 8; ++line)
        out.text("123456").end_line();
    out.floats("weight", inf);
    EXPECT_EQ(err_.take(), "\"weight inf" + refusal);
}

// ---- Loading

TEST_F(model, files_that_hold_no_block_fail) {
    model_t m;
    for (const char* text : {"", "# only\n#comments\n\n\r\n"})
        EXPECT_EQ(refused(load(m, directory_.write("x.pmt", text))), "");
    const std::string missing = directory_.file("none.pmt"), folder = directory_.file("folder.pmt");
    fs::create_directory(folder);
    for (const std::string& name : {missing, folder})
        EXPECT_EQ(refused(load(m, name)), name + ": file open error.\n");
    for (const char* ending : {"model.PMT", "model.obj", "model.pmt.txt", "pmt", ""}) {
        const std::string name = directory_.file(ending), message = "file extension not recognized.\n";
        EXPECT_EQ(refused(load(m, name) || pmt3d::save(m, name) || pmt3d::save(m.items, name)),
                  message + message + message);
    }
    EXPECT_TRUE(m.items.empty());
}

TEST_F(model, blocks_and_unknown_lines) {
    const std::string text = "begin environment\nreflectalpha 0.5\nend\nwhat is this\n" + written(patch()) +
                             "  \r\n" + written(triangle()) + "#end";
    const std::string name = directory_.write("x.pmt", text);
    model_t m;
    const std::string line_end = test_support::repeated_line_end;
    EXPECT_EQ(done(load(m, name)), "unknown line: what is this\nunknown line:   " + line_end);
    ASSERT_TRUE(m.environment.reflectalpha == 0.5f && m.items.size() == 2);
    EXPECT_TRUE(m.items.front().kind == kind_t::nurbs && m.items.front().polygon.vertex_count() == 6);
    EXPECT_EQ(m.items.back().polygon.name(), name);

    surface_list list; // knows no environment
    EXPECT_EQ(done(pmt3d::load_surface_list(list, name, {std::cerr}) == 2),
              "load filename: " + name +
                  "\nunknown line: begin environment\nunknown line: reflectalpha 0.5\n"
                  "unknown line: end\nunknown line: what is this\nunknown line:   " +
                  line_end);

    // A block that fails ends the load, and what came before stays.
    m = {};
    const std::string broken =
        directory_.write("y.pmt", written(triangle()) + "\nbegin polygon_surface,9,9\nnormal\nend\n" + text);
    EXPECT_TRUE(refused(load(m, broken)).starts_with("27: normal parm is not set. normal\n"));
    EXPECT_TRUE(m.items.size() == 2 && m.items.front().polygon.vertex_count() == 3);
    EXPECT_EQ(pmt3d::load_surface_list(list, broken, {std::cerr}), 0u);
}

TEST_F(model, nurbs_surfaces_of_a_small_file_share_two_million_vertices) {
    model_item_t surface = patch();
    surface.nurbs.set_resolution(720, 1024);
    const std::string once = written(surface), thrice = directory_.write("x.pmt", once + once + once),
                      failed = "polygon.allocate() fail.\nnurbs.makeVertices() error.\n";
    model_t m, with_option, large;
    EXPECT_EQ(refused(load(m, thrice)),
              "61: surface 3 asks for 737280 vertices: 627284 are left of the 2101844 "
              "that this file may have (pmt3d --vertices N allows N).\n" +
                  failed);
    ASSERT_EQ(m.items.size(), 3u);
    EXPECT_TRUE(m.items.front().polygon.vertex_count() == 720 * 1024 &&
                m.items.back().polygon.vertex_count() == 0);
    EXPECT_TRUE(pmt3d::load(with_option, thrice, {.error = std::cerr, .allowed_vertices = 3 * 720 * 1024}));
    // Whoever brings the bytes gets the memory for them.
    const std::string long_file = once + once + once + '#' + std::string(30'000, ' ');
    EXPECT_EQ(done(load(large, directory_.write("x.pmt", long_file))), "");
    surface.nurbs.set_resolution(8193, 8192);
    EXPECT_EQ(refused(load(large, directory_.write("x.pmt", written(surface)))),
              "1: surface 4 asks for 67117056 vertices: a surface has at most 67108864.\n" + failed);
}

TEST_F(model, items_and_lists_are_saved_alone) {
    // One item, and a list of one, with an empty line behind it; both kinds are named after the file.
    const std::string one = directory_.file("one.pmt"), list = directory_.file("list.pmt");
    for (const kind_t kind : {kind_t::polygon, kind_t::nurbs}) {
        surface_list items = {kind == kind_t::nurbs ? patch() : triangle()};
        model_item_t& item = items.front();
        EXPECT_TRUE(pmt3d::save(items, list) && pmt3d::save(item, one));
        EXPECT_EQ(read_file(list), read_file(one) + "\r\n");
        EXPECT_EQ(item.polygon.name(), one);
        EXPECT_EQ(item.nurbs.name(), kind == kind_t::nurbs ? one : "");
    }
}

TEST_F(model, a_failed_save_leaves_the_old_file) {
    model_t m;
    m.items.push_back(triangle());
    const std::string missing = directory_.file("none/x.pmt"), folder = directory_.file("folder.stl");
    fs::create_directory(folder);
    for (const std::string& name : {missing, folder})
        EXPECT_EQ(refused(pmt3d::save(m, name)), name + ": file open error.\n");
#ifndef _WIN32
    // A full disk, reached through a link.
    for (const std::string& name : {directory_.file("full.pmt"), directory_.file("full.stl")}) {
        fs::create_symlink("/dev/full", name);
        EXPECT_EQ(refused(pmt3d::save(m, name)), name + ": file write error.\n");
    }
#endif
}

TEST_F(model, progress_ends_at_the_end) {
    model_item_t item;
    item.polygon.allocate(100'000, 0);
    std::uint64_t last = 0, total = 1, calls = 0;
    const pmt3d::progress_t progress = [&](std::uint64_t done, std::uint64_t of) {
        EXPECT_LE(done, of);
        last = done, total = of, ++calls;
    };
    const std::string name = directory_.file("x.pmt");
    EXPECT_TRUE(pmt3d::save_text(item, name, progress));
    EXPECT_TRUE(calls > 10 && last == total);
    for (const unsigned threads : {1u, 3u}) {
        const libutils::fixed_sharing fixed({threads});
        model_t m;
        calls = 0;
        EXPECT_TRUE(pmt3d::load(m, name, {std::cerr, {}, progress}));
        EXPECT_TRUE(calls > (threads == 1 ? 5 : 1) && calls < 100) << "about once a megabyte";
    }
}

// ---- Items

TEST_F(model, items_copy_deeply) {
    model_item_t item = patch();
    item.nurbs.markvertex(2);
    item.nurbs.getarray(0).data[0] = 7; // drawn elsewhere than it is
    item.nurbs.weights()[3] = 0.5f;
    item.texture.specular = "s.png";
    const std::string before = written(item);
    model_item_t copy = item;
    EXPECT_EQ(written(copy), before);
    EXPECT_EQ(copy.nurbs.getarray(0).data[0], 7.0f);
    EXPECT_TRUE(copy.nurbs.marked(2) && copy.nurbs.name() == "made");
    item.nurbs.points()[0].position.x = 9;
    EXPECT_EQ(written(copy), before);
    copy.nurbs.clear();
    EXPECT_TRUE(copy.nurbs.resolution_v() == 33 && copy.nurbs.points().empty());
    copy.nurbs.set_name("no net");
    EXPECT_EQ(model_item_t(copy).nurbs.name(), "no net");

    // Shared ones are copied when they are written to.
    pmt3d::shared_item_t a(item), b = a;
    EXPECT_EQ(a.get(), b.get());
    b.edit().nurbs.set_resolution(5, 5);
    EXPECT_TRUE(a.get()->nurbs.resolution_u() == 3 && b.get()->nurbs.resolution_u() == 5);
    const model_item_t* const alone = b.get();
    EXPECT_TRUE(&b.edit() == alone && b.use_count() == 1) << "no copy";
    EXPECT_EQ(pmt3d::shared_item_t().get(), nullptr);
}

// ---- NURBS surfaces as such

TEST_F(model, nurbs_tables_and_points) {
    model_item_t item = patch();
    pmt3d::nurbs_t& nurbs = item.nurbs;
    const pmt3d::nurbs_t& read = nurbs;
    nurbs.markvertex(2);
    EXPECT_TRUE(nurbs.parameter_table(0).count == 8 && nurbs.parameter_table(1).first[4] == 0.25f &&
                nurbs.parameter_table(2).first[0] == 1.5f && nurbs.parameter_table_count() == 3 &&
                !nurbs.parameter_table(3).first);
    EXPECT_TRUE(read.getarray(0).count == 4 && read.getarray(0).stride == 7);
    EXPECT_EQ(read.getarray(1).data, nullptr);
    render::pos3 min, max;
    nurbs.getbound(min, max);
    EXPECT_EQ(max, (render::pos3{1, 1, 1e-7f}));
    // A new size keeps the rows and columns that both nets have, and no marks.
    ASSERT_TRUE(nurbs.allocate(3, 1, 2, 1));
    EXPECT_EQ(read.points()[1].position, (render::pos3{1, 0, 1e-7f}));
    EXPECT_EQ(read.points()[2].position, (render::pos3{0, 0, 0}));
    EXPECT_EQ(read.points()[4].position, (render::pos3{1, 1, 1e-7f}));
    EXPECT_TRUE(nurbs.weights()[0] == 0 && !nurbs.marked(2));
    EXPECT_EQ(read.getarray(0).count, 0u) << "not made yet";
    const pmt3d::revision_t before = nurbs.points_revision();
    EXPECT_TRUE(nurbs.MakeCtlpts());
    EXPECT_NE(nurbs.points_revision(), before);
    EXPECT_EQ(read.getarray(0).data[7], 1.0f);
    EXPECT_TRUE(nurbs.markvertex(5));
    EXPECT_FALSE(nurbs.allocate(3, 1, 0, 1));
    EXPECT_EQ(nurbs.points().size(), 0u);
    nurbs.getbound(min, max);
    EXPECT_EQ(max, (render::pos3{0, 0, 0}));
    EXPECT_EQ(refused(nurbs.MakeVertices5(item.polygon)), "polygon.allocate() fail.\n");
    nurbs.updateVertices(item.polygon); // nothing to fill
}

} // namespace
