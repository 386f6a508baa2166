// The subcommands for model files, run as a user runs them.
#include "support/picture.h"
#include "support/temporary_directory.h"
#include "tools/pmt3d_tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using test_support::process_result;
using test_support::read_file;

class model_files : public testing::Test {
protected:
    std::string file(const std::string& name, const std::string& text) {
        return directory_.write(name, text);
    }
    std::string file(const std::string& name) { return directory_.file(name); }
    // Runs the program with the words of a line; "@x" is the file x.
    process_result call(const std::string& line, const test_support::process_options& options = {}) {
        std::istringstream in(line);
        std::vector<std::string> words;
        for (std::string word; in >> word;)
            words.push_back(word[0] == '@' ? file(word.substr(1)) : word);
        return pmt3d(words, options);
    }
    // A run that must succeed without a word on standard error.
    std::string quietly(const std::string& line) {
        const process_result r = call(line);
        EXPECT_TRUE(r.exit_code == 0 && r.err.empty()) << line << ": " << r.err;
        return r.out;
    }
    // With the number of triangles.
    std::string bounds(const std::string& name) {
        const std::string info = quietly("info @" + name);
        return info.substr(info.find("triangles"), info.find("area") - info.find("triangles"));
    }
    test_support::temporary_directory directory_;
};

const std::string triangle = "begin polygon_surface,3,4\n"
                             "mercatorsphere 1\nfcolor 1,0,0,1/0\n"
                             "position -1,0,0\nposition 1/3,0,0\nposition 0,2,0.5\n"
                             "element 0\nelement 1\nelement 2\nelement -1\n"
                             "tangent 1,0,0\ntangent 1,0,0\ntangent 1,0,0\n"
                             "binormal 0,1,0\nbinormal 0,1,0\nbinormal 0,1,0\n"
                             "normal 0,0,1\nnormal 0,0,1\nnormal 0,0,1\nend\n";

// A vase: circles of nine rational control points, stacked along a curve, with a pole at the foot. They begin
// and end on the x axis, on its positive side or (seam -1) on the other.
std::string vase(int seam = 1) {
    const std::pair<double, double> rings[] = {{0, 0}, {0.9, 0}, {1.3, 0.8}, {0.3, 1.7}, {0.7, 2.2}};
    std::ostringstream text;
    text << "begin nurbs_surface,9,3,5,4\nresolution 65,33\n";
    for (const auto& [radius, y] : rings) {
        text << "fcolor " << 0.3 + 0.3 * y << ",0.5,0.7,1\n";
        for (int i = 0; i < 12; ++i)
            text << "knot1 " << (i < 3 ? 0 : i > 8 ? 1 : (i - 1) / 2 * 0.25) << '\n';
        for (int i = 0; i < 9; ++i) { // the corners of a square and the middles of its sides
            const double out = seam * radius * (i % 2 ? std::sqrt(2.0) : 1), angle = std::atan(1.0) * i;
            text << "weight " << (i % 2 ? 0.70710678 : 1.0) << "\nposition " << out * std::cos(angle) << ','
                 << y << ',' << -out * std::sin(angle) << '\n';
        }
    }
    for (int i = 0; i < 9 * 9; ++i)
        text << "knot2 " << (i % 9 < 4 ? 0 : i % 9 > 4 ? 1 : 0.5) << '\n';
    return text.str() + "end\n";
}

TEST_F(model_files, info) {
    const std::string name = file("two.pmt", triangle + vase());
    const std::string named = "\n  name: " + name + "\n  vertices: ";
    // The lines of figures are the next test's.
    const std::regex figures(" *(area|volume|open edges|crowded edges|(flipped|degenerate) triangles): .*\n");
    const std::string info = std::regex_replace(quietly("info @two.pmt"), figures, "");
    EXPECT_EQ(info,
              "items: 2\ntriangles: 4097\nbounds: -1 0 -0.995153785 0.995153785 2.20000029 0.995153785\n"
              "item 1:\n  kind: polygon" +
                  named + "3\n  elements: 4\n  triangles: 1\nitem 2:\n  kind: nurbs" + named +
                  "2145\n  elements: 4192\n  triangles: 4096\n  net: 9 points of order 3 by 5 of order 4, "
                  "resolution 65 by 33\n");
    file("none.stl", "solid\nendsolid\n");
    const process_result none = call("info @none.stl");
    EXPECT_TRUE(none.out.starts_with("items: 1\ntriangles: 0\nbounds: none\n")) << none.out;
    EXPECT_EQ(none.err, "pmt3d: warning: " + file("none.stl") + " has no facet.\n");
    file("bare.pmt", "begin polygon_surface,0,0\nspecular missing.png\nend\n");
    EXPECT_TRUE(call("info @bare.pmt").out.ends_with("\n  specular: missing.png\n"));
}

// A tetrahedron of volume 1/6, as text STL without the facets that are struck out; small letters are turned
// over.
std::string tetrahedron(const std::string& faces) {
    const std::string corners[] = {"0 0 0", "1 0 0", "0 1 0", "-0 0 1"};
    const std::map<char, std::array<int, 3>> known = {
        {'A', {0, 2, 1}}, {'B', {0, 1, 3}}, {'C', {0, 3, 2}}, {'D', {1, 2, 3}}, {'Z', {1, 1, 2}}};
    std::string text = "solid\n";
    for (const char face : faces) {
        std::array<int, 3> t = known.at(char(std::toupper(face)));
        if (std::islower(face)) std::swap(t[0], t[1]);
        text += "facet normal 0 0 0\nouter loop\n";
        for (const int corner : t)
            text += "vertex " + corners[corner] + '\n';
        text += "endloop\nendfacet\n";
    }
    return text + "endsolid\n";
}

TEST_F(model_files, info_measures_what_triangles_enclose) {
    const struct {
        std::string faces;
        double area, volume;       // times two and six
        std::array<int, 4> counts; // edges open and crowded, triangles flipped and degenerate
    } cases[] = {{"ABCD", 3 + std::sqrt(3.0), 1, {0, 0, 0, 0}},
                 {"abcd", 3 + std::sqrt(3.0), -1, {0, 0, 0, 0}},
                 {"ABC", 3, 0, {3, 0, 0, 0}},
                 {"DABc", 3 + std::sqrt(3.0), -1, {0, 0, 1, 0}},
                 {"abcD", 3 + std::sqrt(3.0), -1, {0, 0, 1, 0}},
                 {"ZABCDZ", 3 + std::sqrt(3.0), 1, {0, 0, 0, 2}},
                 {"ABCDD", 3 + 2 * std::sqrt(3.0), 2, {0, 3, 0, 0}},
                 {"Z", 0, 0, {0, 0, 0, 1}}};
    for (const auto& c : cases) {
        file("t.stl", tetrahedron(c.faces));
        const std::string info = quietly("info @t.stl");
        double area = -1, volume = -1;
        std::array<int, 4> counts{-1, -1, -1, -1};
        std::sscanf(info.c_str() + info.find("area"),
                    "area: %lf volume: %lf open edges: %d crowded edges: %d flipped triangles: %d degenerate "
                    "triangles: %d",
                    &area, &volume, &counts[0], &counts[1], &counts[2], &counts[3]);
        EXPECT_NEAR(area, c.area / 2, 1e-6) << c.faces;
        EXPECT_NEAR(volume, c.volume / 6, 1e-6) << c.faces;
        EXPECT_EQ(counts, c.counts) << c.faces;
    }
    // Half of it in either item: only the whole is closed. Corners that are no numbers count by themselves.
    std::string halves;
    for (const char* faces : {"begin polygon_surface,4,8\nelement 0\nelement 2\nelement 1\nelement -1\n"
                              "element 0\nelement 1\nelement 3\nelement -1\n",
                              "begin polygon_surface,4,8\nelement 0\nelement 3\nelement 2\nelement -1\n"
                              "element 1\nelement 2\nelement 3\nelement -1\n"}) {
        halves += faces;
        for (const char* corner : {"0,0,0", "1,0,0", "0,1,0", "0,0,1"})
            halves += std::string("position ") + corner + "\ntangent 0,0,0\nbinormal 0,0,0\nnormal 0,0,0\n";
        halves += "end\n";
    }
    file("halves.pmt", halves);
    const std::string info = quietly("info @halves.pmt");
    EXPECT_NE(info.find("\nvolume: 0.166666667\nopen edges: 0\n"), info.npos) << info;
    EXPECT_NE(info.find("\n  triangles: 2\n  area: 1\n  volume: 0\n  open edges: 4\n"), info.npos) << info;
    std::string nan = tetrahedron("ABCDA");
    file("nan.stl", nan.replace(nan.rfind("1 0 0"), 1, "nan"));
    EXPECT_NE(quietly("info @nan.stl")
                  .find("open edges: 0\ncrowded edges: 0\nflipped triangles: 0\n"
                        "degenerate triangles: 0\ntriangles that are no numbers: 1\n"),
              info.npos);
}

TEST_F(model_files, info_agrees_with_another_program) {
    file("vase.pmt", vase());
    quietly("convert @vase.pmt @vase.stl");
    std::string text = read_file(file("vase.stl"));
    const std::string in_order = text; // out of order, pieces of the surface meet late
    for (int i = 0; i < 4096; ++i)
        text.replace(84 + 50 * (i * 1009 % 4096), 50, in_order, 84 + 50 * i, 50);
    for (const int turned : {100, 103, 2000}) // two corners change places
        std::swap_ranges(&text[84 + 50 * turned + 12], &text[84 + 50 * turned + 24],
                         &text[84 + 50 * turned + 24]);
    text.replace(80, 2, "\xFB\x0F"); // the last five are missing
    text.resize(84 + 50 * 4091);
    file("vase.stl", text);
    const std::string ours = quietly("info @vase.stl");
    const std::string theirs = test_support::run({"admesh", "-e", "-d", file("vase.stl")}).out;
    const std::string values = test_support::run({"admesh", "-e", "-v", file("vase.stl")}).out;
    const auto number = [](const std::string& all, const std::string& key) {
        std::smatch found;
        EXPECT_TRUE(std::regex_search(all, found, std::regex(key + " *: *([-0-9.]+)")))
            << key << " in " << all;
        return found.empty() ? -1.0 : std::stod(found[1]);
    };
    EXPECT_EQ(number(ours, "open edges"), number(theirs, "Facets with 1 disconnected edge") +
                                              2 * number(theirs, "Facets with 2 disconnected edges"));
    EXPECT_EQ(number(ours, "flipped triangles"), number(theirs, "Facets reversed"));
    EXPECT_EQ(number(ours, "degenerate triangles"), number(theirs, "Degenerate facets"));
    EXPECT_NEAR(number(ours, "volume"), number(values, "Volume"), 1e-4);
}

TEST_F(model_files, dump) {
    const std::string name = file(windows_player() ? "a b.pmt" : "a \"b\".pmt",
                                  triangle + "begin environment\nrefractfactor 0.1\nend\n"
                                             "begin nurbs_surface,1,1,2,1\nresolution 1,1\nknot1 0\nknot1 1\n"
                                             "knot1 0\nknot1 1\nweight 1\nweight 1\nposition 1,2,3\n"
                                             "position 4,5,6\nknot2 0\nknot2 0.5\nknot2 1\nend\n");
    const auto replace_all = [](std::string& text, const char* from, const std::string& to) {
        text = std::regex_replace(text, std::regex(from), to);
    };
    std::string quoted = name, expected = R"({"items":[
{"kind":0,"texture":{OPTIONStrue},"polygon":{"name":"NAME",
"vertices":[[-1,0,0,1,0,0,"inf",0,0],[0.333333343,0,0,1,0,0,"inf",0,0],[0,2,0.5,1,0,0,"inf",0,0]],
"frames":[[1,0,0,0,1,0,0,0,1],[1,0,0,0,1,0,0,0,1],[1,0,0,0,1,0,0,0,1]],"elements":[0,1,2,4294967295]}},
{"kind":1,"texture":{OPTIONSfalse},"polygon":{"name":"NAME",
"vertices":[[1,2,3,0.5,0.5,0.5,1,0,0]],"frames":[[0,0,0,0,0,0,0,0,0]],"elements":[]},
"nurbs":{"name":"NAME","m":1,"k1":1,"n":2,"k2":1,"resolution":[1,1],"knots1":[[0,1],[0,1]],"knots2":[[0,0.5,1]],
"weights":[[1],[1]],"points":[[1,2,3,0.5,0.5,0.5,1],[4,5,6,0.5,0.5,0.5,1]]}}],
"environment":{"cubetex":"","reflectalpha":0,"refractalpha":0,"refractfactor":0.100000001}})";
    replace_all(quoted, "\"", "\\\"");
    replace_all(expected, "\n", "");
    replace_all(expected, "NAME", quoted);
    replace_all(expected, "OPTIONS",
                R"("texture":"","bumpmap":"","specular":"","aniso":1,"refractfactor":0,"bumpofs":true,)"
                R"("bump2mono":false,"mipmap":true,"nearlinear":true,"maglinear":true,"mercatorsphere":)");
    EXPECT_EQ(pmt3d({"dump", name}).out, expected + '\n');
    // Names need not be UTF-8: a lone byte, a surrogate, forms that are too long, and beyond the last code.
    file("x.pmt", "begin polygon_surface,0,0\ntexture \xC3\xA9\xFF\t\xED\xA0\x80|\xC0\xAF|\xE0\x9F\xBF|"
                  "\xF0\x8F\xBF\xBF|\xF4\x90\x80\x80|\xF0\x9F\x98\x80|\xE2\x82\nend\n");
    const std::string text = call("dump @x.pmt").out;
    std::string bad = "\xC3\xA9#\\u0009###|##|###|####|####|\xF0\x9F\x98\x80|##";
    replace_all(bad, "#", "\\ufffd");
    EXPECT_NE(text.find('"' + bad + '"'), std::string::npos) << text;
}

TEST_F(model_files, convert_there_and_back_and_by_way_of_another_program) {
    file("in.pmt", vase());
    for (const bool text : {false, true}) {
        quietly(std::string("convert @in.pmt @ours.stl") + (text ? " --text" : ""));
        const process_result r =
            test_support::run({"admesh", "--no-check", "--write-binary-stl=" + file("binary.stl"),
                               "--write-ascii-stl=" + file("text.stl"), file("ours.stl")});
        for (const char* part :
             {text ? "ASCII STL file" : "Binary STL file", "Number of facets                 :  4096 ",
              "Min X = -0.995154, Max X =  0.995154"})
            EXPECT_NE(r.out.find(part), std::string::npos) << r.out << r.err;
        for (const char* name : {"ours.stl", "binary.stl", "text.stl"})
            EXPECT_EQ(bounds(name), bounds("in.pmt")) << name;
    }
    EXPECT_TRUE(read_file(file("ours.stl")).starts_with("solid /t"));
    for (const char* line : {"convert @ours.stl @c.pmt", "convert @c.pmt @c.pmt"}) { // a file onto itself
        EXPECT_EQ(quietly(line), "");
        EXPECT_TRUE(bounds("c.pmt").starts_with("triangles: 4096\nbounds: -0.99515")); // six digits
    }
    // What cannot be saved leaves the old file.
    const std::string old = file("old.pmt", "old");
    file("inf.stl",
         "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 1e39\nvertex 1 0 0\nvertex 0 1 0\nendloop\n");
    EXPECT_EQ(call("convert @inf.stl @old.pmt").exit_code, 1);
    EXPECT_EQ(read_file(old), "old");
}

TEST_F(model_files, a_model_that_moves_finds_its_pictures) {
    for (const char* folder : {"in/pictures", "out/deep"})
        std::filesystem::create_directories(directory_.path() / folder);
    const std::string link = windows_player() ? "out/deep" : "link"; // Wine shows no links
    if (!windows_player()) std::filesystem::create_directory_symlink("out/deep", directory_.path() / link);
    for (const char* face : {"posx", "negx", "posy", "negy", "posz", "negz"}) // of one pixel
        directory_.write(std::string("in/sky_") + face + ".tga",
                         {"\0\0\2\0\0\0\0\0\0\0\0\0\1\0\1\0\x18\0\1\2\3", 21});
    const std::string absolute = file("somewhere/a.png");
    std::string text = "begin environment\ncubetex sky.tga\nend\n" + triangle;
    text.insert(text.find("position"),
                "texture pictures/a b.png\nbumpmap " + absolute + "\nspecular ../c.png\n");
    directory_.write("in/m.pmt", text);
    const std::array<std::string, 3> cases[] = {{"out/deep/m.pmt", "../../in/", "../../"},
                                                {link + "/m.pmt", "../../in/", "../../"},
                                                {"m.pmt", "in/", ""},
                                                {"in/same.pmt", "", "../"}};
    for (const auto& [out, in, above] : cases) { // with the folders from there
        const process_result r = call("convert @in/m.pmt @" + out);
        EXPECT_EQ(r.exit_code, 0);
        EXPECT_NE(r.err.find("a b.png: color autoloadformat failed.\n"), std::string::npos) << "missing";
        std::string saved = read_file(file(out));
        std::erase(saved, '\r');
        for (const std::string& line : {"\ncubetex " + in + "sky.tga", "\ntexture " + in + "pictures/a b.png",
                                        "\nbumpmap " + absolute, "\nspecular " + above + "c.png"})
            EXPECT_NE(saved.find(line + '\n'), std::string::npos) << line << " is not in " << saved;
    }
}

TEST_F(model_files, render_needs_no_display_and_shows_no_seam) {
    const auto picture_of = [&](const std::string& text) {
        file("vase.pmt", text);
        test_support::process_options options;
        if (!windows_player()) options.environment = {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}};
        const process_result r =
            call("render @vase.pmt @vase.png --size 240x200 --eye 5,3,0.5 --target 0,1.1,0", options);
        EXPECT_TRUE(r.exit_code == 0 && r.err.empty()) << r.err;
        return test_support::load_png(file("vase.png"));
    };
    // Drawn by whatever renderer is here: edges may differ by a pixel, areas by rounding.
    const test_support::picture seen = picture_of(vase());
    EXPECT_TRUE(test_support::looks_like(seen, "vase", 0.5, 60));
    const test_support::picture hidden = picture_of(vase(-1));
    EXPECT_TRUE(std::equal(seen.rgba.begin(), seen.rgba.end(), hidden.rgba.begin(), hidden.rgba.end(),
                           [](int a, int b) { return std::abs(a - b) <= 4; }))
        << "it shows on which side the seam is";
    for (const std::string name : {"vase.bmp", "vase.tga", "vase.jpg"}) {
        quietly("render @vase.pmt --size 12x10 @" + name);
        EXPECT_TRUE(quietly("image info @" + name).starts_with("size: 12x10\n"));
    }
}

TEST_F(model_files, render_shows_all_of_a_model_in_the_middle) {
    // Far from the origin, and by perspective not at all symmetrical.
    std::string text = "begin polygon_surface,4,4\n";
    for (const char* corner : {"90,7,-9", "90,7,9", "99,7,-9", "99,7,9"})
        text += std::string("position ") + corner + "\ntangent 1,0,0\nbinormal 0,0,-1\nnormal 0,1,0\n";
    file("floor.pmt", text + "element 0\nelement 1\nelement 2\nelement 3\nend\n");
    for (const auto& [width, height, size] : {std::tuple(300, 100, "300x100"), {100, 300, "100x300"}}) {
        quietly(std::string("render @floor.pmt @floor.png --size ") + size);
        // The rectangle that is not background.
        const std::string seen =
            test_support::run({"convert", file("floor.png"), "-format", "%w %h %@", "info:"}).out;
        int w = 0, h = 0, across = 0, up = 0, left = 0, top = 0;
        ASSERT_EQ(std::sscanf(seen.c_str(), "%d %d %dx%d+%d+%d", &w, &h, &across, &up, &left, &top), 6)
            << seen;
        ASSERT_EQ(std::pair(w, h), std::pair(width, height));
        const int right = width - left - across, bottom = height - top - up;
        // Exactly in the middle where room is short, about so where it is not.
        EXPECT_NEAR(left, right, (width < height ? 0.05 : 0.2) * width);
        EXPECT_NEAR(bottom, top, (width < height ? 0.2 : 0.05) * height);
        EXPECT_GT(std::min({left, right, top, bottom}), 0);
        EXPECT_LT(std::min(left, bottom), 20) << "as near as can be";
    }
}

TEST_F(model_files, check_names_file_and_line_of_all_that_is_left_out) {
    file("in.pmt", triangle);
    file("bare.pmt",
         "begin polygon_surface,0,0\nspecular missing.png\ntexture in.pmt.png\nend\nbegin environment\n"
         "cubetex sky.png\nend\n");
    file("in.pmt.png", "no picture");
    file("bad.pmt", "what\x1B\r\nbegin polygon_surface,1,0\nposition 1,2\ntangent 1,0,0\nend\n");
    file("torn.stl", std::string(80, 'h') + std::string("\1\0\0\0more", 8));
    file("fine.pmt", "begin nurbs_surface,1,1,1,1\nresolution 1500,1500\nknot1 0\nknot1 1\nknot2 0\nknot2 1\n"
                     "weight 1\nposition 1,2,3\nend\n");
    const std::string folder = file("");
    const struct {
        std::string line;
        int exit_code;
        std::string out; // without the folder's name
    } cases[] = {
        {"check @in.pmt @in.pmt", 0, "2 files, no problem.\n"},
        {"check @in.pmt @bad.pmt", 1,
         "bad.pmt:1: unknown line: what?\nbad.pmt:3: value 3 of 3: missing, in \"position 1,2\"\n"
         "bad.pmt:5: binormal(0) < 1: too few binormal.\nbad.pmt:5: normal(0) < 1: too few normal.\n"
         "2 files, 4 problems.\n"},
        {"check --most=1 @bad.pmt", 1,
         "bad.pmt:1: unknown line: what?\nbad.pmt: 3 more are not listed (--most).\n1 file, 4 problems.\n"},
        {"check @bare.pmt", 1,
         "bare.pmt:2: picture missing.png: file open error, No such file or directory\n"
         "bare.pmt:3: picture in.pmt.png: not a png file.\n"
         "bare.pmt:6: picture sky_posx.png: file open error, No such file or directory\n"
         "bare.pmt:6: picture sky_posx.png: autoloadformat failed.\n1 file, 4 problems.\n"},
        {"check --json @torn.stl @in.pmt", 1,
         R"({"files":[{"file":"torn.stl","loaded":false,"problems":[{"byte":88,"triangle":1,"text":)"
         R"("the file ends within this triangle, of 1 that are announced"}],"not_listed":0},)"
         R"({"file":"in.pmt","loaded":true,"problems":[],"not_listed":0}],"problems":1})"
         "\n"},
        {"check @fine.pmt", 1,
         "fine.pmt:1: surface 1 asks for 2250000 vertices: 2097588 are left of the 2097588 that this file "
         "may have "
         "(pmt3d --vertices N allows N).\nfine.pmt: polygon.allocate() fail.\n1 file, 2 problems.\n"},
        {"--vertices 2250000 check @fine.pmt", 0, "1 file, no problem.\n"},
        {"check @none.stl @x.obk", 1,
         "none.stl: file open error.\nx.obk: file extension not recognized.\n2 files, 2 problems.\n"},
    };
    for (const auto& c : cases) {
        const process_result r = call(c.line);
        std::string out = r.out;
        for (std::size_t at; (at = out.find(folder)) != out.npos;)
            out.erase(at, folder.size());
        // In the words of Windows.
        for (std::size_t at; (at = out.find("File not found.")) != out.npos;)
            out.replace(at, 15, "No such file or directory");
        EXPECT_EQ(r.exit_code, c.exit_code) << c.line;
        EXPECT_EQ(out, c.out);
        EXPECT_EQ(r.err, "");
    }
}

TEST_F(model_files, standard_streams_and_endings_in_capitals) {
    if (windows_player()) GTEST_SKIP() << "a shell is needed";
    file("in.pmt", "\xEF\xBB\xBF" + triangle);
    file("empty.stl", "solid\nendsolid\n");
    const struct {
        std::string line; // for a shell in the folder, with the program as $0
        int exit_code;
        std::string out, err;
    } cases[] = {
        {"$0 convert in.pmt A.STL && $0 convert A.STL B.PMT && $0 info B.PMT | head -2", 0,
         "items: 1\ntriangles: 1\n", ""},
        {"cat in.pmt | $0 convert - --to stl - | $0 convert --to stl --text - - | $0 info - | head -2", 0,
         "items: 1\ntriangles: 1\n", ""},
        {"$0 convert in.pmt c.pmt && $0 convert in.pmt --to pmt - | cmp - c.pmt && cp c.pmt c.txt && "
         "$0 check --from pmt c.txt - <in.pmt",
         0, "2 files, no problem.\n", ""},
        {"echo what | $0 check -", 1,
         "-:1: unknown line: what\n-: the file has no surface and no environment\n1 file, 2 problems.\n", ""},
        {"$0 convert in.pmt --to stl - >/dev/full", 1, "", "pmt3d: writing to standard output failed.\n"},
        // What would be a file without a surface is none.
        {"$0 convert empty.stl none.pmt; ls none.pmt 2>/dev/null", 2, "",
         "pmt3d: warning: empty.stl has no facet.\npmt3d: surface 1 has no vertex and is left out of "
         "none.pmt.\n"
         "pmt3d: none.pmt: there is nothing to write.\n"},
        {"$0 convert empty.stl none.stl && wc -c <none.stl", 0, "84\n",
         "pmt3d: warning: empty.stl has no facet.\npmt3d: warning: none.stl gets no facet.\n"},
    };
    for (const auto& c : cases) {
        test_support::process_options options;
        options.directory = directory_.path().string();
        const process_result r = test_support::run({"sh", "-c", c.line, QUENVAREL_BIN "/pmt3d"}, options);
        EXPECT_EQ(r.exit_code, c.exit_code) << c.line;
        EXPECT_EQ(r.out, c.out) << c.line;
        EXPECT_EQ(r.err, c.err) << c.line;
    }
}

TEST_F(model_files, failures_say_what_is_wrong) {
    file("in.pmt", triangle);
    file("void.pmt", "");
    file("bad.pmt", "begin polygon_surface,1,0\nwhat\nend\n");
    file("bare.pmt", "begin polygon_surface,0,0\nspecular missing.png\nend\n");
    file("empty.pmt", "begin polygon_surface,0,0\nend\n");
    file("huge.pmt", "begin polygon_surface,1,1\nposition 1/0,0,0\nelement 0\n"
                     "tangent 1,0,0\nbinormal 0,1,0\nnormal 0,0,1\nend\n");
    file("fine.pmt", "begin nurbs_surface,1,1,1,1\nresolution 1500,1500\nknot1 0\nknot1 1\nknot2 0\nknot2 1\n"
                     "weight 1\nposition 1,2,3\nend\n");
    // The exit code, and what is among the errors.
    const std::tuple<const char*, int, std::string> cases[] = {
        {"info @in.pmt @in.pmt", 2, "usage: pmt3d info [OPTION...] FILE\n"},
        {"info @none.stl", 1, "none.stl: file open error.\npmt3d: " + file("none.stl") + ": not loaded.\n"},
        {"info @x.wrl", 1, "file extension not recognized.\n"},
        {"dump @void.pmt", 1, "void.pmt: not loaded.\n"},
        {"check", 2, "usage: pmt3d check [OPTION...] FILE..."},
        {"info @fine.pmt", 1, "2250000 vertices: 2097588 are left of the 2097588 that this file"},
        {"--vertices -1 check @in.pmt", 2, "--vertices takes a whole number"},
        {"convert @in.pmt", 2, "usage: pmt3d convert"},
        {"convert --txet @in.pmt @o.stl", 2, "there is no option --txet; there are --"},
        {"convert --text @none.pmt @o.pmt", 2, "--text is for STL, an OUT that ends in .stl."},
        {"convert @none.stl @o.obj", 2, "OUT ends in .pmt or .stl, or --to says what it is."},
        {"convert @none.stl -", 2, "what is written to standard output is for --to to say."},
        {"render @none.pmt @o.gif", 2, "OUT ends in .png, .bmp, .tga, .jpg or .jpeg."},
        {"convert @in.pmt @none/o.stl", 1, "none/o.stl: file open error.\n"},
        {"render @in.pmt", 2, "usage: pmt3d render"},
        {"render @in.pmt @o.png --size 0x10", 2, "--size takes"},
        {"render @in.pmt @o.png --size", 2, "--size takes"},
        {"render @in.pmt @o.png --eye 1,2", 2, "--eye takes three numbers"},
        {"render @in.pmt @o.png --eye 1,2,3 --target 1,2,3", 2, "must not be the same"},
        {"render @in.pmt @o.png --size 2x4000000000", 1, "pictures can be at most"},
        {"render @in.pmt @o.png --eye -0.333333313,1,0.25", 1, "--eye is the point"}, // its middle
        {"render @empty.pmt @o.png", 1, "empty.pmt has nothing to draw."},
        {"render @huge.pmt @o.png", 1, "huge.pmt is too large to be seen."},
    };
    for (const auto& [line, code, err] : cases) {
        const process_result r = call(line);
        EXPECT_EQ(r.exit_code, code) << line;
        EXPECT_TRUE(err.empty() ? r.err.empty() : r.err.find(err) != r.err.npos) << r.err;
        EXPECT_EQ(r.out, "");
    }
}

} // namespace
