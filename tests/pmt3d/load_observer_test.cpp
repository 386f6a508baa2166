#include "pmt3d/format/dispatch.h"

#include "pmt3d/loading.h"

#include <sstream>

namespace {

using load_observer = loading;

// Lines "LINE: TEXT", or "byte B triangle T: TEXT", and "LINE = PATH" for pictures.
struct listener : pmt3d::load_observer {
    void left_out(const pmt3d::file_place& place, std::string_view text) override {
        if (place.byte) said << "byte " << place.byte << ' ';
        if (place.triangle) said << "triangle " << place.triangle << ' ';
        said << place.line << ": " << text << '\n';
    }
    void named_picture(std::uint64_t line, std::string_view path) override {
        said << line << " = " << path << '\n';
    }
    std::ostringstream said;
};

const std::string
    head = "begin polygon_surface,2,3\n", // and complete surfaces, line by line
    points = "position 0,0,0\nposition 1e1,1/2,-.5\n",
    ends = "tangent 1,0,0\ntangent 1,0,0\nbinormal 0,1,0\nbinormal 0,1,0\nnormal 0,0,1\nnormal 0,0,1\n"
           "element 0\nelement 1\nelement -1\nend\n",
    net = "begin nurbs_surface,1,1,1,1\nknot1 0\nknot1 1\nknot2 0\nknot2 1\nweight 1\nposition 0,0,0\n";

std::string facet(const std::string& vertices) {
    return "facet normal 0 0 1\n outer loop\n" + vertices + "endloop\n endfacet\n";
}

std::string binary(const std::string& count, std::size_t size, std::size_t nan_at = 0) {
    std::string bytes = std::string(80, 'h') + count;
    bytes.resize(size);
    if (nan_at) bytes.replace(nan_at, 4, "\0\0\xC0\x7F", 4);
    return bytes;
}

TEST_F(load_observer, is_told_what_is_left_out_and_where) {
    const std::string good = "position 0,0,0\nposition 1e1,1/2,-0.5 \n" + ends;
    const struct {
        const char* name;
        std::string text, told;
    } cases[] = {
        {"x.pmt", "\xEF\xBB\xBF# text\n\n" + head + "texture a b.png\r\nmercatorsphere true\n" + good,
         "4 = a b.png\n"},
        {"x.pmt", head + points + ends,
         "3: value 3 of 3: it ends early, at '.', in \"position 1e1,1/2,-.5\"\n"},
        {"x.pmt", "begin environment\ncubetex sky\n",
         "2 = sky\n2: the file ends before the block's \"end\"\n"},
        {"x.pmt", "begin environment\ncubetex \nreflectalpha\nreflectalpha 1,2\ny\r\nend\nend\n",
         "2: the path is missing, in \"cubetex \"\n3: value: missing, in \"reflectalpha\"\n"
         "4: there is more behind the last value, in \"reflectalpha 1,2\"\n"
         "5: illegal command: y\n7: unknown line: end\n"},
        {"x.pmt", "\n", "0: the file has no surface and no environment\n"},
        {"x.pmt", "begin polygon_surface\n", "1: the header has no counts: begin polygon_surface\n"},
        {"x.pmt", "begin polygon_surface,1\nend\n",
         "1: header: value 2 of 2: missing\n"
         "2: vertex(0) < 1: too few vertex.\n"
         "2: tangent(0) < 1: too few tangent.\n"
         "2: binormal(0) < 1: too few binormal.\n"
         "2: normal(0) < 1: too few normal.\n"},
        {"x.pmt", "begin polygon_surface,4000000000,0\n", "1: polygon allocate error.\n"},
        {"x.pmt", head + good.substr(0, good.size() - 4), "12: the file ends before the block's \"end\"\n"},
        {"x.pmt",
         head + "what\nspecular\nposition 1,2\ntexfilter 1,maybe,0\ntexfilter 1\ncolor 1,2,x,4\nfcolor "
                "1,1,(1,4/\n"
                "position 1e99,2+-2,1)\nposition 0,0,0\nelement 2\nelement 0x1\nelement 4294967295\nelement "
                "0.5\n"
                "tangent 1/2,0,y\ntangent 0,1e39,0\nbinormal 1;2;3\naniso -(2)*3-1\nend\n",
         "2: illegal command: what\n3: specular path is not set. specular\n"
         "4: value 3 of 3: missing, in \"position 1,2\"\n"
         "5: value 2 of 3: neither true nor false, in \"texfilter 1,maybe,0\"\n"
         "6: nearlinear is not set. texfilter 1\n6: value 2 of 3: missing, in \"texfilter 1\"\n"
         "6: value 3 of 3: missing, in \"texfilter 1\"\n7: value 3 of 4: no whole number, in \"color "
         "1,2,x,4\"\n"
         "8: value 3 of 4: a parenthesis is not closed, in \"fcolor 1,1,(1,4/\"\n"
         "8: value 4 of 4: last '/' detect, in \"fcolor 1,1,(1,4/\"\n"
         "9: value 2 of 3: of two signs in a row the second is taken for a 0, in \"position 1e99,2+-2,1)\"\n"
         "9: value 3 of 3: it ends early, at a parenthesis that was not opened, in \"position "
         "1e99,2+-2,1)\"\n"
         "9: a number is not finite, in \"position 1e99,2+-2,1)\"\n10: polygon vertex(2) >= 2 over.\n"
         "11: element 2 is beyond the 2 vertices\n14: polygon element(3) >= 3 over.\n"
         "14: value: no whole number, in \"element 0.5\"\n"
         "15: value 1 of 3: no plain number, and sums are not computed here, in \"tangent 1/2,0,y\"\n"
         "15: value 3 of 3: no number, in \"tangent 1/2,0,y\"\n16: a number is not finite, in \"tangent "
         "0,1e39,0\"\n"
         "17: value 1 of 3: no number, in \"binormal 1;2;3\"\n17: value 2 of 3: missing, in \"binormal "
         "1;2;3\"\n"
         "17: value 3 of 3: missing, in \"binormal 1;2;3\"\n19: binormal(1) < 2: too few binormal.\n"
         "19: normal(0) < 2: too few normal.\n"},
        {"x.pmt", "begin nurbs_surface,1,1,1,1\nknot1 0\nknot1 1e39\nknot1 2\n",
         "3: a number is not finite, in \"knot1 1e39\"\n4: nurbs knots1(2) >= 2 over.\n"},
        {"x.pmt", net + "resolution 100000,100000\nend\n",
         "1: surface 1 asks for 10000000000 vertices: a surface has at most 67108864.\n"},
        {"x.stl", "solid x\n" + facet("vertex 0 0 0\n vertex 1 0 0\nvertex 0 1 0\n") + "endsolid x\n", ""},
        {"x.stl",
         "\xEF\xBB\xBFsolid\ncolor 1\n" +
             facet("vertex 0 0 0\nvertex 1 0 inf\nvertex 0 1 0\nvertex 0 0 0\n") + "facet\nouter loop\n",
         "2: unknown line: color 1\ntriangle 1 7: a corner of the triangle is not finite\n"
         "8: unknown line: rtex 0 0 0\n11: unknown line: facet\n12: unknown line: outer loop\n"
         "12: the file ends without \"endsolid\"\n"},
        {"x.stl", "solid\nfacet normal 0 0 1\nvertex 0 0 0\n",
         "3: unknown line: vertex 0 0 0\ntriangle 1 3: its \"outer loop\" is missing\n"},
        {"x.stl", "solid\n" + facet("vertex 0 0 0\nvertex 0 0\nvertex 1 0 0\n"),
         "triangle 1 5: its \"vertex\" 2 of 3 is missing, or lacks a number\n"},
        {"x.stl", binary({"\2\0\0\0", 4}, 84 + 99, 150),
         "byte 183 triangle 2 0: the file ends within this triangle, of "
         "2 that are announced\n"},
        {"x.stl", binary({"\1\0\0\0", 4}, 84 + 57, 96),
         "byte 84 triangle 1 0: a corner of the triangle is not finite\n"
         "byte 134 0: 7 bytes behind the last of 1 triangles are left out\n"},
        {"x.stl", "hello",
         "0: the file has 5 bytes: binary STL has at least 84, and text begins with \"solid\"\n"},
    };
    for (const auto& c : cases) {
        listener told;
        std::ostringstream observed, alone;
        pmt3d::model_t model, same;
        const std::string name = directory_.write(c.name, c.text);
        const bool loaded = pmt3d::load(model, name, {observed, {}, {}, 0, nullptr, &told});
        EXPECT_EQ(told.said.str(), c.told) << c.text;
        EXPECT_EQ(err_.take().find("detect"), std::string::npos) << "the observer knows";
        EXPECT_EQ(pmt3d::load(same, name, {alone}), loaded);
        EXPECT_EQ(observed.str(), alone.str()) << "an observer changes nothing";
        const auto format = c.name[2] == 's' ? pmt3d::file_format::stl : pmt3d::file_format::text;
        EXPECT_EQ(pmt3d::load_as(model, format, "-", c.text, {alone}), loaded) << "from memory";
        err_.take();
    }
}

} // namespace
