#include "pmt3d/format/text_reader.h"
#include "pmt3d/format/vertex_limit.h"

#include "pmt3d/surface/nurbs.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <vector>

namespace {

using pmt3d::line_reader;
using test_support::capture;

// What a block reader made of a text, whose first line is the header.
struct result {
    bool ok;
    std::string errors;
    pmt3d::polygon_t polygon;
};

result read(const std::string& text) {
    pmt3d::model_item_t item;
    std::ostringstream errors;
    capture standard(std::cerr); // the evaluator's
    line_reader in(text);
    EXPECT_TRUE(in.next());
    item.kind = pmt3d::surface_kind(in.line()).value();
    pmt3d::vertex_limit limit(0, pmt3d::nurbs_t::most_vertices);
    const bool ok = pmt3d::read_surface_block("key.pmt", item, 1, {}, limit, in, errors);
    return {ok, errors.str() + standard.text(), item.polygon};
}

struct diagnostic {
    std::string text, errors;
    bool ok = false;
};
void check(const std::vector<diagnostic>& cases) {
    for (const auto& [text, errors, ok] : cases) {
        const result r = read(text);
        EXPECT_EQ(r.ok, ok) << text;
        EXPECT_EQ(r.errors, errors) << text;
    }
}

const std::string frame_lines = "tangent 1,0,0\nbinormal 0,1,0\nnormal 0,0,1\n";
const std::string three_vertices = "position 0,0,0\nposition 1,0,0\nposition 0,1,0\n";
const std::string strip = "element 0\nelement 1\nelement 2\nelement -1\n";
const std::string frames = frame_lines + frame_lines + frame_lines;
// A whole triangle with lines of the test in it.
std::string triangle(const std::string& lines) {
    return "begin polygon_surface,3,4\n" + lines + three_vertices + strip + frames + "end\n";
}

TEST(polygon_block, lines_without_a_value_are_reported_and_skipped) {
    std::string lines, errors;
    int number = 2;
    for (const std::string key : {"color parm",     "fcolor parm",         "texcoord parm", "position parm",
                                  "circle parm",    "sphere parm",         "element parm",  "tangent parm",
                                  "binormal parm",  "normal parm",         "aniso parm",    "bumpofs parm",
                                  "bump2mono parm", "mercatorsphere parm", "texture path",  "bumpmap path",
                                  "specular path",  "texfilter",           "mipmap",        "nearlinear",
                                  "maglinear",      "refractfactor"}) {
        const std::string line = key.substr(0, key.find(' ')) + "\t1";
        lines += line + "\r\n";
        errors +=
            std::to_string(number++) + ": " + key + " is not set. " + line + test_support::repeated_line_end;
    }
    check({{triangle(lines + "bumptex\n"), errors + "24: bumpmap path is not set. bumptex\n", true}});
}

TEST(polygon_block, diagnostics) {
    const std::string allocate = "1: polygon allocate error.\n", begin = "begin polygon_surface,3,4\n";
    check({
        // Lines that are skipped.
        {triangle("colour 1\n"), "2: illegal command: colour 1\n", true},
        {triangle(" position 1,2,3\n"), "2: illegal command:  position 1,2,3\n", true},
        {triangle("texfilter 1\ntexfilter 1,1\n"),
         "2: nearlinear is not set. texfilter 1\n3: maglinear is not set. texfilter 1,1\n", true},
        {triangle("texture " + std::string(65537, 'x') + "\n"),
         "2: path is too long: texture " + std::string(992, 'x') + "...\n", true},
        {triangle("aniso .5\n"), "46 \n.: warning: invalid char detect.\n", true},
        // One more than there is room for.
        {triangle("").substr(0, triangle("").size() - 4) + "position 9,9,9\nend\n",
         "18: polygon vertex(3) >= 3 over.\n", true},
        {triangle("").insert(26, "element 1\n"), "9: polygon element(4) >= 4 over.\n", true},
        {triangle(frame_lines),
         "18: polygon tangent(3) >= 3 over.\n19: polygon binormal(3) >= 3 over.\n"
         "20: polygon normal(3) >= 3 over.\n",
         true},
        // Blocks that fail.
        {"begin polygon_surface 3 4\nend\n", ""},
        {begin + three_vertices, ""},
        {"begin polygon_surface,3,4\nendless\n",
         "2: vertex(0) < 3: too few vertex.\n2: element(0) < 4: too few element.\n2: tangent(0) < 3: too few "
         "tangent.\n"
         "2: binormal(0) < 3: too few binormal.\n2: normal(0) < 3: too few normal.\n"},
        {begin + three_vertices + strip + frames.substr(0, frames.size() - 13) + "end\n",
         "17: normal(2) < 3: too few normal.\n"},
        {"begin polygon_surface,4294967295,4\nend\n", allocate},
        {"begin polygon_surface,-1,4\nend\n", allocate},
        {"begin polygon_surface,3,99999999999999999999\nend\n", allocate},
        {"begin polygon_surface,1000000,3\n" + three_vertices, allocate},
        // A file of this length has no room for so many lines.
        {"begin polygon_surface,3,100000\n" + std::string(800'000, ' '), allocate},
    });
}

TEST(polygon_block, hostile_lines) {
    // Zero bytes, values where there are none, a line of a megabyte.
    auto r = read(triangle(std::string("position \0 1,2\0,3\n", 18)));
    EXPECT_EQ(r.polygon.vertices()[0].position, (render::pos3{0, 1, 2}));
    r = read(triangle("position 1\ntexcoord \nposition ,,,,,,7\ntangent x,-,+5\n" +
                      std::string(1 << 20, 'x') + "\n"));
    EXPECT_EQ(r.polygon.vertices()[0].position, (render::pos3{1, 0, 0}));
    EXPECT_EQ(r.polygon.vertices()[1].position, (render::pos3{0, 0, 0}));
    EXPECT_EQ(r.polygon.normals()[0].tangent, (render::dir3{0, 0, 0}));
    EXPECT_NE(r.errors.find("6: illegal command: " + std::string(1000, 'x') + "...\n"), r.errors.npos);
    // A value at the end of a line must not be sought in the next one.
    r = read(triangle("tangent \r\n7,8,9\ncolor 0\r\n255,255\n"));
    EXPECT_EQ(r.polygon.normals()[0].tangent, (render::dir3{0, 0, 0}));
    EXPECT_EQ(r.polygon.vertices()[0].color, (render::col3a{0, 0, 0, 0}));
}

// ---- NURBS blocks

const std::string rows_of_a_patch =
    "knot1 0\nknot1 0\nknot1 1\nknot1 1\nweight 1\nweight 1\nposition 0,0,0\nposition 1,0,0\n"
    "knot1 0\nknot1 0\nknot1 1\nknot1 1\nweight 1\nweight 1\ncolor 255,0,0,255\n"
    "position 0,1,0\nposition 1,1,2\n";
const std::string columns_of_a_patch =
    "knot2 0\nknot2 0\nknot2 1\nknot2 1\nknot2 0\nknot2 0\nknot2 1\nknot2 1\n";
std::string patch(const std::string& lines) {
    return "begin nurbs_surface,2,2,2,2\n" + lines + rows_of_a_patch + columns_of_a_patch + "end\n";
}

TEST(nurbs_block, diagnostics) {
    const std::string begin = "begin nurbs_surface,2,2,2,2\n", rows = rows_of_a_patch,
                      all = begin + rows + columns_of_a_patch, allocate = "1: nurbs allocate error.\n",
                      fail = "nurbs.makeVertices() error.\npolygon.allocate() fail.\n";
    check({
        {patch("texcoord 1,2\nmipmap\n"),
         "2: illegal command: texcoord 1,2\n3: is_mipmap is not set. mipmap\n", true},
        {patch("resolution\nknot1\nknot2\nweight\n"),
         "2: resolution parm is not set. resolution\n3: knot1 parm is not set. knot1\n"
         "4: knot2 parm is not set. knot2\n5: weight parm is not set. weight\n",
         true},
        {all, "", true}, // the end of the file will do
        {"begin nurbs_surface\nend\n", ""},
        {patch("") + "x", "", true},
        {all + "knot1 1\nend\n", "27: nurbs knots1(8) >= 8 over.\n"},
        {all + "knot2 1\nend\n", "27: nurbs knots2(8) >= 8 over.\n"},
        {begin + rows + "weight 1\nend\n", "19: nurbs weights(4) >= 4 over.\n"},
        {begin + rows + "sphere 1,2,3\nend\n", "19: nurbs points(4) >= 4 over.\n"},
        {patch("resolution 0,5\n"), fail},
        {patch("resolution 5,0\n"), fail},
        {patch("resolution 8193,8192\n"),
         "1: surface 1 asks for 67117056 vertices: a surface has at most 67108864.\n" + fail},
        {patch("resolution -1,-1\n"),
         "1: surface 1 asks for 18446744065119617025 vertices: a surface has at most 67108864.\n" + fail},
    });
    for (const std::string size :
         {"0,2,2,2", "2,0,2,2", "2,2,0,2", "2,2,2,0", "1000,1,1000,1", "2,1000000,2,2", "2,2,2,1000000",
          "4294967295,4294967295,4294967295,4294967295"})
        check({{"begin nurbs_surface," + size + "\nend\n", allocate}});
    // A block that lacks something is still tessellated.
    const auto r = read(begin + "resolution 2,2\n" + rows + "end\n");
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.errors.starts_with("20: knot2(0) < 8: too few knots.\n"));
    EXPECT_EQ(r.polygon.vertices()[3].position, (render::pos3{1, 1, 2})); // by the corner rule
    const auto none = read("begin nurbs_surface,2,1,1,1\nresolution 1,1\nend\n");
    EXPECT_EQ(none.errors, "3: knot1(0) < 3: too few knots.\n3: knot2(0) < 4: too few knots.\n"
                           "3: weight(0) < 2: too few weights.\n3: point(0) < 2: too few points.\n");
    EXPECT_EQ(none.polygon.element_count(), 0u);
}

// ---- The environment

TEST(environment_block, options_and_diagnostics) {
    libgr::environment_options environment;
    std::ostringstream errors;
    const auto read = [&](const std::string& text) {
        errors.str("");
        line_reader in(text);
        in.next();
        return pmt3d::read_environment_block(environment, in, errors);
    };
    EXPECT_FALSE(read("begin polygon_surface,3,4\n"));
    EXPECT_EQ(errors.str(), "not 'begin environment'.\n");
    EXPECT_TRUE(read("begin environment\ncubemap no such sky.png\r\nrefractfactor 7\nend\n"));
    EXPECT_EQ(environment.cubetex, "no such sky.png");
    EXPECT_TRUE(read("begin environment\ncubemap " + std::string(65537, 'x')));
    EXPECT_EQ(environment.cubetex, "no such sky.png");
    EXPECT_TRUE(errors.str().starts_with("2: path is too long: cubemap xx"));
    // A key without a value has an empty one, and the end of the file ends the block.
    EXPECT_TRUE(read("begin environment\r\n# x\n\n\r\ncubetex\nreflectalpha 1/4\nrefractalpha 0.5\r\n"
                     "refractfactor\nposition 1\n"));
    EXPECT_EQ(errors.str(), "9: illegal command: position 1\n");
    EXPECT_EQ(environment.cubetex, "");
    EXPECT_TRUE(environment.reflectalpha == 0.25f && environment.refractalpha == 0.5f);
    EXPECT_EQ(environment.refractfactor, 0.0f);
}

} // namespace
