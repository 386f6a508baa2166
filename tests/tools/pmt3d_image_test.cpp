// pmt3d image as a user calls it, and what it writes as other programs see it.

#include "libgr/image/autoformat.h"
#include "libgr/image/convert.h"
#include "libgr/image/processing.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

namespace {

using namespace libgr::kinds;
using namespace test_support;
using libgr::image2d;
using libgr::pixel_descriptor;

const std::string tool = QUENVAREL_BIN "/pmt3d";

process_result image(std::vector<std::string> words) {
    words.insert(words.begin(), {tool, "image"});
    return run(words);
}

// Waves of every channel, in the widest samples there are.
unsigned sample_of(std::uint32_t x, std::uint32_t y, std::uint32_t channel) {
    return unsigned(32767.5 + 32767.5 * std::sin(0.3 * x + 0.2 * y * (1 + channel) + channel));
}

image2d waves(std::uint32_t width, std::uint32_t height, pixel_descriptor descriptor) {
    image2d made;
    made.descriptor = descriptor;
    made.width = width;
    made.height = height;
    EXPECT_TRUE(made.allocate());
    const std::uint32_t channels = libgr::components(descriptor.format);
    const std::uint32_t bits = libgr::bits_per_component(descriptor.bits);
    const bool reversed = descriptor.format == bgr8.format || descriptor.format == bgra8.format;
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t i = 0; i < width * channels; ++i) {
            const std::uint32_t x = i / channels, c = i % channels;
            const unsigned v = sample_of(x, y, reversed && c < 3 ? 2 - c : c) >> (16 - bits);
            unsigned char* row = made.row(y);
            if (bits == 16)
                std::memcpy(row + 2 * i, &v, 2);
            else
                row[i * bits / 8] |= static_cast<unsigned char>(v << (8 - bits - i * bits % 8));
        }
    return made;
}

// So many of its channels as a portable anymap, which every program reads.
std::string anymap(std::uint32_t width, std::uint32_t height, std::uint32_t channels, std::uint32_t bits,
                   std::uint32_t first = 0) {
    std::string text = (channels == 1 ? "P5\n" : "P6\n") + std::to_string(width) + ' ' +
                       std::to_string(height) + '\n' + std::to_string((1u << bits) - 1) + '\n';
    for (std::uint32_t y = height; y > 0; --y)
        for (std::uint32_t i = 0; i < width * channels; ++i) {
            const unsigned v = sample_of(i / channels, y - 1, first + i % channels) >> (16 - bits);
            if (bits == 16) text += char(v >> 8);
            text += char(v & 255);
        }
    return text;
}

// A copy with the top row first, where the other program would show the rows as they lie in the file.
std::string upright(const std::string& name) {
    if (!name.ends_with(".tga")) return name;
    EXPECT_EQ(run({"mogrify", "-auto-orient", "-format", "miff", name}).exit_code, 0);
    return name.substr(0, name.size() - 3) + "miff";
}

// How many pixels differ for another program.
std::string difference(std::vector<std::string> words) {
    words.insert(words.begin(), {"compare", "-metric", "AE"});
    words.emplace_back("null:");
    return run(words).err;
}

TEST(pmt3d_image, other_programs_see_the_same_pixels) {
    struct {
        const char* name;
        pixel_descriptor descriptor;
    } const cases[] = {
        {"grey1.png", grey1},   {"grey2.png", grey2},        {"grey4.png", grey4}, {"grey8.png", grey8},
        {"grey16.png", grey16}, {"alpha8.png", grey_alpha8}, {"rgb8.png", rgb8},   {"rgb16.png", rgb16},
        {"rgba8.png", rgba8},   {"rgba16.png", rgba16},      {"bgr.bmp", bgr8},    {"grey.tga", grey8},
        {"rgb.tga", rgb8},      {"bgra.tga", bgra8},         {"rgba.tga", rgba8},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        const std::string name = folder.file(c.name);
        const std::uint32_t channels = libgr::components(c.descriptor.format),
                            bits = libgr::bits_per_component(c.descriptor.bits);
        ASSERT_TRUE(libgr::autosaveformat(waves(21, 13, c.descriptor), name));
        const std::string expected = folder.write("expected.pnm", anymap(21, 13, channels < 3 ? 1 : 3, bits));
        EXPECT_EQ(difference({"-alpha", "off", expected, upright(name)}), "0") << c.name;
        if (channels % 2 == 0) {
            const std::string alpha = folder.write("alpha.pgm", anymap(21, 13, 1, bits, channels - 1));
            EXPECT_EQ(difference({alpha, "(", upright(name), "-alpha", "extract", ")"}), "0") << c.name;
        }
        if (!std::string_view(c.name).ends_with(".png")) continue;
        EXPECT_EQ(run({"pngcheck", "-q", name}).exit_code, 0) << c.name;
        if (channels > 1 || bits > 8) continue;
        ASSERT_EQ(image({"convert", name, folder.file("a.bmp")}).exit_code, 0);
        EXPECT_EQ(difference({expected, folder.file("a.bmp")}), "0") << c.name;
    }
}

TEST(pmt3d_image, a_jpeg_file_is_what_cjpeg_makes_with_quality_95) {
    const temporary_directory folder;
    const std::string ours = folder.file("ours.jpg"), theirs = folder.file("theirs.jpg");
    for (const pixel_descriptor& kind : {grey8, rgb8}) {
        ASSERT_TRUE(libgr::autosaveformat(waves(40, 30, kind), ours));
        const std::string source = folder.write("a.pnm", anymap(40, 30, libgr::components(kind.format), 8));
        ASSERT_EQ(run({"cjpeg", "-quality", "95", "-baseline", "-outfile", theirs, source}).exit_code, 0);
        EXPECT_EQ(run({"djpeg", ours}).out, run({"djpeg", theirs}).out);
    }
}

TEST(pmt3d_image, info) {
    const temporary_directory folder;
    // A white pixel under a black one. CRC-32 of 0 0 0 255 255 255 by another program.
    const std::string bmp =
        folder.write("a.bmp", std::string("BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\1\0\0\0\2\0\0\0"
                                          "\1\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                                          "\x80\0\0\0\0\0\0\0",
                                          62));
    const process_result shown = image({"info", bmp});
    EXPECT_EQ(shown.out, "size: 1x2\nformat: 0\ntype: 1\nbits: 0\ncrc: b17c87b1\n");
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_EQ(shown.err, "");
    EXPECT_EQ(image({"--memory", "1", "info", bmp}).out, shown.out);
    const std::string large = folder.file("large.png");
    ASSERT_TRUE(libgr::autosaveformat(waves(600, 600, rgb8), large));
    EXPECT_EQ(image({"--memory", "2", "info", large}).exit_code, 0);
    EXPECT_EQ(image({"--memory", "1", "info", large}).err,
              large + ": picture needs 2 MiB of memory, more than the 1 MiB allowed.\n");
    // Every spelling of a name is taken everywhere.
    std::string from = bmp;
    for (const char* name : {"b.jpeg", "c.JPG", "d.JPEG", "e.TGA", "f.bMp"}) {
        EXPECT_EQ(image({"convert", from, folder.file(name)}).err, "");
        from = folder.file(name);
        EXPECT_EQ(image({"info", from}).out.substr(0, 10), "size: 1x2\n") << name;
    }
}

TEST(pmt3d_image, convert_loses_nothing) {
    const temporary_directory folder;
    struct {
        pixel_descriptor descriptor;
        const char *from, *to;
        const char* line; // of the refusal; empty: it is done
    } const cases[] = {
        {rgb8, "a.png", "a.bmp", ""},
        {rgba8, "a.png", "a.tga", ""},
        {bgra8, "a.tga", "a.png", ""},
        {grey2, "a.png", "a.bmp", ""},
        {grey_alpha8, "a.png", "a.tga", ""},
        {grey4, "a.png", "a.tga", ""},
        {bgr8, "a.bmp", "b.tga", ""},
        {bgra8, "a.tga", "a.bmp", "convert(to bmp): not supported format.\n"},
        {rgba8, "a.png", "a.jpg", "convert(to jpeg): not supported format.\n"},
        {rgb16, "a.png", "a.bmp", "convert(to bmp): not supported format.\n"},
        {grey16, "a.png", "a.tga", "convert(to tga): not supported format.\n"},
    };
    for (const auto& c : cases) {
        const std::string from = folder.file(c.from), to = folder.file(c.to);
        ASSERT_TRUE(libgr::autosaveformat(waves(11, 5, c.descriptor), from));
        const process_result converted = image({"convert", from, to});
        EXPECT_EQ(converted.err, c.line) << c.from << c.to;
        EXPECT_EQ(converted.exit_code, *c.line ? 1 : 0);
        if (*c.line) continue;
        const std::string a = image({"info", from}).out, b = image({"info", to}).out;
        EXPECT_EQ(a.substr(a.find("crc")), b.substr(b.find("crc"))) << c.from << ' ' << c.to;
    }
}

TEST(pmt3d_image, operations) {
    const temporary_directory folder;
    const std::string from = folder.file("in.png"), to = folder.file("out.png"),
                      expected = folder.file("expected.png");
    const auto info = [](const std::string& name) { return image({"info", name}).out; };
    const image2d colours = waves(20, 12, rgb8);
    ASSERT_TRUE(libgr::autosaveformat(colours, from));
    image2d made, clear;
    const std::pair<const char*, bool (*)(image2d&, const image2d&)> cases[] = {
        {"normalmap", libgr::normalmap}, {"scaledown", libgr::scaledown}, {"grey", libgr::rgb2grey}};
    for (const auto& [name, operation] : cases) {
        ASSERT_TRUE(operation(made, colours) && libgr::autosaveformat(made, expected));
        ASSERT_EQ(image({name, from, to}).exit_code, 0) << name;
        EXPECT_EQ(info(to), info(expected)) << name;
    }
    // The grey one is a height map, in whatever format and with whatever alpha.
    const std::string heights = folder.file("heights.bmp"), with_alpha = folder.file("clear.png");
    ASSERT_TRUE(libgr::convert_format(clear, made, libgr::pixel_format::luminance_alpha) &&
                libgr::autosaveformat(clear, with_alpha));
    ASSERT_TRUE(libgr::normalmap(made, made) && libgr::autosaveformat(made, expected));
    for (const char* format : {"a.bmp", "a.tga", "a.png"}) {
        ASSERT_EQ(image({"convert", from, folder.file(format)}).exit_code, 0);
        ASSERT_EQ(image({"grey", folder.file(format), heights}).exit_code, 0);
        ASSERT_EQ(image({"grey", heights, heights}).exit_code, 0);
        for (const std::string& map : {heights, with_alpha}) {
            ASSERT_EQ(image({"normalmap", map, to}).exit_code, 0);
            EXPECT_EQ(info(to), info(expected)) << format << map;
        }
    }
    // Four channels of which the last says nothing are a picture for everybody.
    image2d plain = waves(5, 3, bgra8);
    for (std::uint32_t i = 3; i < plain.pixels.size(); i += 4)
        plain.pixels[i] = 0;
    ASSERT_TRUE(libgr::autosaveformat(plain, folder.file("plain.tga")));
    EXPECT_EQ(image({"convert", folder.file("plain.tga"), folder.file("plain.jpg")}).err, "");
}

// Pictures of every kind, turned here and there: the same pixels, the same notes.
TEST(pmt3d_image, turns_as_jpegtran_does) {
    const temporary_directory folder;
    const std::string from = folder.file("in.jpg"), ours = folder.file("ours.jpg"),
                      theirs = folder.file("theirs.jpg");
    const std::string source = folder.write("in.ppm", anymap(96, 64, 3, 8));
    for (const char* sampling :
         {"1x1", "2x1", "1x2", "2x2", "4x1", "1x4", "4x2,1x1,1x1", "2x2,1x2,2x1", "1x1,2x2,1x2"})
        for (const char* coding : {"-baseline", "-progressive", "-arithmetic", "-grayscale", "-rgb"}) {
            ASSERT_EQ(run({"cjpeg", coding, "-sample", sampling, "-outfile", from, source}).exit_code, 0);
            for (int turns = 1; turns <= 3; ++turns) {
                const std::string angle = std::to_string(90 * turns);
                run({"jpegtran", "-copy", "all", "-perfect", "-rotate", angle, "-outfile", theirs, from});
                const process_result result = image({"turn", std::to_string(turns), from, ours});
                ASSERT_EQ(result.exit_code, 0) << sampling << coding << result.err;
                EXPECT_EQ(run({"djpeg", ours}).out, run({"djpeg", theirs}).out)
                    << sampling << coding << turns;
            }
        }
}

TEST(pmt3d_image, wrong_usage) {
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
