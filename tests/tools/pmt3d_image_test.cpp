// pmt3d image as a user calls it, on pictures that other programs make, and what they see of its own.

#include "libgr/image/autoformat.h"
#include "libgr/image/processing.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

namespace {

using namespace test_support;
using libgr::image2d;

process_result image(std::vector<std::string> words) {
    words.insert(words.begin(), {QUENVAREL_BIN "/pmt3d", "image"});
    return run(words);
}

// A run that must succeed without a word on standard error.
std::string quietly(const std::vector<std::string>& words) {
    const process_result r = image(words);
    EXPECT_TRUE(r.exit_code == 0 && r.err.empty()) << words[0] << ": " << r.err;
    return r.out;
}

// How many pixels differ for another program, alpha included.
std::string difference(const std::string& a, std::string b) {
    if (b.ends_with(".tga")) { // which it shows as the rows lie in the file
        EXPECT_EQ(run({"mogrify", "-auto-orient", "-format", "miff", b}).exit_code, 0);
        b.replace(b.size() - 3, 3, "miff");
    }
    return run({"compare", "-metric", "AE", a, b, "null:"}).err;
}

class pmt3d_image : public testing::Test {
protected:
    std::string file(const std::string& name) { return folder_.file(name); }
    // Random pixels as a PNG file of this colour type: 0 grey, 2 RGB, 4 grey and alpha, 6 RGBA.
    std::string noise(int type, int bits, const std::string& size = "21x13") {
        const std::string type_text = std::to_string(type), bits_text = std::to_string(bits),
                          name = file(type_text + '-' + bits_text + ".png");
        const process_result r =
            run({"convert", "-size", size, "xc:rgba(128,128,128,0.5)", "-seed", "5", "-channel", "RGBA",
                 "+noise", "Random", "-colorspace", type % 4 ? "sRGB" : "gray", "-depth", bits_text,
                 "-define", "png:color-type=" + type_text, "-define", "png:bit-depth=" + bits_text, name});
        EXPECT_EQ(r.exit_code, 0) << r.err;
        return name;
    }
    temporary_directory folder_;
};

TEST_F(pmt3d_image, other_programs_see_the_same_pixels) {
    const std::pair<int, int> kinds[] = {{0, 1},  {0, 2}, {0, 4},  {0, 8}, {0, 16}, {4, 8},
                                         {4, 16}, {2, 8}, {2, 16}, {6, 8}, {6, 16}};
    for (const auto& [type, bits] : kinds) {
        const std::string from = noise(type, bits), back = file("back.png");
        for (const std::string ending : {"png", "bmp", "tga", "jpeg"}) {
            const std::string to = file("a." + ending);
            SCOPED_TRACE(from + ending);
            const bool alpha = type >= 4;
            if (ending != "png" && (bits == 16 || (alpha && ending != "tga"))) {
                EXPECT_EQ(image({"convert", from, to}).err,
                          "convert(to " + ending + "): not supported format.\n");
                continue;
            }
            quietly({"convert", from, to});
            if (ending == "jpeg") continue; // loses something
            EXPECT_EQ(difference(from, to), "0");
            quietly({"convert", to, back});
            EXPECT_EQ(difference(from, back), "0");
            EXPECT_EQ(run({"pngcheck", "-q", back}).exit_code, 0);
        }
    }
}

TEST_F(pmt3d_image, a_jpeg_file_is_what_cjpeg_makes_with_quality_95) {
    const std::string ours = file("ours.jpg"), theirs = file("theirs.jpg"), source = file("a.pnm");
    for (const int type : {0, 2}) {
        quietly({"convert", noise(type, 8), ours});
        run({"convert", noise(type, 8), source});
        ASSERT_EQ(run({"cjpeg", "-quality", "95", "-baseline", "-outfile", theirs, source}).exit_code, 0);
        EXPECT_EQ(run({"djpeg", ours}).out, run({"djpeg", theirs}).out);
    }
}

TEST_F(pmt3d_image, info) {
    // A white pixel under a black one. CRC-32 of 0 0 0 255 255 255 by another program.
    const std::string bmp =
        folder_.write("a.bmp", std::string("BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\1\0\0\0\2\0\0\0"
                                           "\1\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                                           "\x80\0\0\0\0\0\0\0",
                                           62));
    EXPECT_EQ(quietly({"--memory", "1", "info", bmp}),
              "size: 1x2\nformat: 0\ntype: 1\nbits: 0\ncrc: b17c87b1\n");
    const std::string large = noise(2, 8, "600x600");
    quietly({"--memory", "2", "info", large});
    EXPECT_EQ(image({"--memory", "1", "info", large}).err,
              large + ": picture needs 2 MiB of memory, more than the 1 MiB allowed.\n");
    // Every spelling of a name is taken everywhere.
    std::string from = bmp;
    for (const char* name : {"b.jpeg", "c.JPG", "d.JPEG", "e.TGA", "f.bMp"}) {
        quietly({"convert", from, file(name)});
        from = file(name);
        EXPECT_TRUE(quietly({"info", from}).starts_with("size: 1x2\n")) << name;
    }
}

TEST_F(pmt3d_image, operations) {
    const std::string from = noise(2, 8), to = file("out.png"), expected = file("expected.png"),
                      heights = file("heights.bmp"), transparent = file("transparent.tga");
    image2d colours, made;
    ASSERT_TRUE(libgr::autoloadformat(colours, from));
    const std::pair<const char*, bool (*)(image2d&, const image2d&)> cases[] = {
        {"normalmap", libgr::normalmap}, {"scaledown", libgr::scaledown}, {"grey", libgr::rgb2grey}};
    for (const auto& [name, operation] : cases) {
        ASSERT_TRUE(operation(made, colours) && libgr::autosaveformat(made, expected));
        quietly({name, from, to});
        EXPECT_EQ(difference(expected, to), "0") << name;
    }
    // The grey one is a height map, in whatever format and with whatever alpha.
    run({"convert", to, "-alpha", "set", "-define", "png:color-type=4", file("clear.png")});
    ASSERT_TRUE(libgr::normalmap(made, made) && libgr::autosaveformat(made, expected));
    for (const char* format : {"a.bmp", "a.tga", "a.png"}) {
        quietly({"convert", from, file(format)});
        quietly({"grey", file(format), heights});
        quietly({"grey", heights, heights});
        for (const std::string& map : {heights, file("clear.png")}) {
            quietly({"normalmap", map, to});
            EXPECT_EQ(difference(expected, to), "0") << format << map;
        }
    }
    // Four channels of which the last says nothing are a picture for everybody.
    run({"convert", noise(6, 8), "-channel", "A", "-evaluate", "set", "0", "-orient", "BottomLeft",
         transparent});
    quietly({"convert", transparent, file("plain.jpg")});
}

// Pictures of every kind, turned here and there: the same pixels, the same notes.
TEST_F(pmt3d_image, turns_as_jpegtran_does) {
    const std::string from = file("in.jpg"), ours = file("ours.jpg"), theirs = file("theirs.jpg"),
                      source = file("in.ppm");
    run({"convert", noise(2, 8, "96x64"), source});
    for (const std::string sampling :
         {"1x1", "2x1", "1x2", "2x2", "4x1", "1x4", "4x2,1x1,1x1", "2x2,1x2,2x1", "1x1,2x2,1x2"})
        for (const std::string coding : {"-baseline", "-progressive", "-arithmetic", "-grayscale", "-rgb"}) {
            SCOPED_TRACE(sampling + coding);
            ASSERT_EQ(run({"cjpeg", coding, "-sample", sampling, "-outfile", from, source}).exit_code, 0);
            for (int turns = 1; turns <= 3; ++turns) {
                const std::string angle = std::to_string(90 * turns);
                run({"jpegtran", "-copy", "all", "-perfect", "-rotate", angle, "-outfile", theirs, from});
                quietly({"turn", std::to_string(turns), from, ours});
                EXPECT_EQ(run({"djpeg", ours}).out, run({"djpeg", theirs}).out) << turns;
            }
        }
}

TEST_F(pmt3d_image, wrong_usage) {
    for (const std::string line :
         {"", "info", "info a b", "convert a", "turn 1 a", "turn x a b", "turn 1.5 a b", "turn - a b",
          "sharpen a b", "--memory 0 info a.png", "--memory"}) {
        std::istringstream words(line);
        const process_result result = image({std::istream_iterator<std::string>(words), {}});
        EXPECT_EQ(result.exit_code, 2) << line;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("usage: pmt3d image"), std::string::npos);
    }
    EXPECT_NE(image({"sharpen"}).err.find("\"sharpen\"; the words are info, convert, grey,"),
              std::string::npos);
    const process_result over = image({"turn", "4", QUENVAREL_BIN "/pmt3d", "b.jpg"});
    EXPECT_EQ(over.exit_code, 1);
    EXPECT_EQ(over.err, "4: jpeg transform rightrotate count over.\n");
}

} // namespace
