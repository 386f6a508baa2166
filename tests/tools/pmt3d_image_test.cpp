// pmt3d image as a user calls it, and what it writes as other programs see it.

#include "libgr/image/autoformat.h"
#include "libgr/image/convert.h"
#include "libgr/image/processing.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

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
    const bool reversed = descriptor.format == 10 || descriptor.format == 11;
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

// The same picture as a portable anymap, which every program reads: 'channels' of each pixel, without alpha.
std::string anymap(std::uint32_t width, std::uint32_t height, std::uint32_t channels, std::uint32_t bits) {
    std::string text = (channels == 1 ? "P5\n" : "P6\n") + std::to_string(width) + ' ' +
                       std::to_string(height) + '\n' + std::to_string((1u << bits) - 1) + '\n';
    for (std::uint32_t y = height; y > 0; --y)
        for (std::uint32_t i = 0; i < width * channels; ++i) {
            const unsigned v = sample_of(i / channels, y - 1, i % channels) >> (16 - bits);
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

TEST(pmt3d_image, other_programs_see_the_same_pixels) {
    struct {
        const char* name;
        pixel_descriptor descriptor;
    } const cases[] = {
        {"grey1.png", {0, 1, 0}},  {"grey2.png", {0, 1, 1}},  {"grey4.png", {0, 1, 2}},
        {"grey8.png", {0, 1, 3}},  {"grey16.png", {0, 1, 5}}, {"alpha8.png", {1, 1, 3}},
        {"rgb8.png", {8, 1, 3}},   {"rgb16.png", {8, 1, 5}},  {"rgba8.png", {9, 1, 3}},
        {"rgba16.png", {9, 1, 5}}, {"bgr.bmp", {10, 1, 3}},   {"grey.tga", {0, 1, 3}},
        {"rgb.tga", {8, 1, 3}},    {"bgra.tga", {11, 1, 3}},  {"rgba.tga", {9, 1, 3}},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        const std::string name = folder.file(c.name);
        ASSERT_TRUE(libgr::autosaveformat(waves(21, 13, c.descriptor), name));
        const std::string expected =
            folder.write("expected.pnm", anymap(21, 13, libgr::components(c.descriptor.format) < 3 ? 1 : 3,
                                                libgr::bits_per_component(c.descriptor.bits)));
        // The number of pixels that differ, alpha aside.
        const process_result compared =
            run({"compare", "-alpha", "off", "-metric", "AE", expected, upright(name), "null:"});
        EXPECT_EQ(compared.exit_code, 0) << c.name << ' ' << compared.err;
        EXPECT_EQ(compared.err, "0") << c.name;
        if (!std::string_view(c.name).ends_with(".png")) continue;
        EXPECT_EQ(run({"pngcheck", "-q", name}).exit_code, 0) << c.name;
        if (!std::string_view(c.name).starts_with("grey") || c.descriptor.bits > 3) continue;
        ASSERT_EQ(image({"convert", name, folder.file("a.bmp")}).exit_code, 0);
        EXPECT_EQ(run({"compare", "-metric", "AE", expected, folder.file("a.bmp"), "null:"}).err, "0")
            << c.name;
    }
}

TEST(pmt3d_image, alpha_is_the_same_for_others) {
    const temporary_directory folder;
    for (const char* name : {"a.png", "a.tga"}) {
        ASSERT_TRUE(libgr::autosaveformat(waves(9, 7, {9, 1, 3}), folder.file(name)));
        std::string alpha = "P5\n9 7\n255\n";
        for (std::uint32_t y = 7; y > 0; --y)
            for (std::uint32_t x = 0; x < 9; ++x)
                alpha += char(sample_of(x, y - 1, 3) >> 8);
        const process_result compared =
            run({"compare", "-metric", "AE", folder.write("alpha.pgm", alpha), "(",
                 upright(folder.file(name)), "-alpha", "extract", ")", "null:"});
        EXPECT_EQ(compared.err, "0") << name;
    }
}

TEST(pmt3d_image, a_jpeg_file_is_what_cjpeg_makes_with_quality_95) {
    const temporary_directory folder;
    for (const std::uint32_t format : {0u, 8u}) {
        const std::string ours = folder.file("ours.jpg"), theirs = folder.file("theirs.jpg");
        ASSERT_TRUE(libgr::autosaveformat(waves(40, 30, {format, 1, 3}), ours));
        const std::string source = folder.write("a.pnm", anymap(40, 30, format == 0 ? 1 : 3, 8));
        ASSERT_EQ(run({"cjpeg", "-quality", "95", "-baseline", "-outfile", theirs, source}).exit_code, 0);
        EXPECT_EQ(run({"djpeg", ours}).out, run({"djpeg", theirs}).out);
        EXPECT_EQ(run({"identify", "-format", "%Q %wx%h", ours}).out, "95 40x30");
    }
}

TEST(pmt3d_image, info) {
    const temporary_directory folder;
    // CRC-32 of 0 0 0 255 255 255, and of what the others become, by another program.
    const std::string crc = "b17c87b1";
    const std::string bmp =
        folder.write("a.bmp", std::string("BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\2\0\0\0\1\0\0\0"
                                          "\1\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                                          "\x40\0\0\0",
                                          58));
    const process_result shown = image({"info", bmp});
    EXPECT_EQ(shown.out, "size: 2x1\nformat: 0\ntype: 1\nbits: 0\ncrc: " + crc + "\n");
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_EQ(shown.err, "");
    EXPECT_EQ(image({"--memory", "1", "info", bmp}).out, shown.out);
    // Every spelling of a name is taken everywhere.
    const std::vector<std::string> names = {bmp,
                                            folder.file("b.jpeg"),
                                            folder.file("c.JPG"),
                                            folder.file("d.JPEG"),
                                            folder.file("e.TGA"),
                                            folder.file("f.bMp")};
    for (std::size_t i = 1; i < names.size(); ++i) {
        EXPECT_EQ(image({"convert", names[i - 1], names[i]}).err, "");
        EXPECT_EQ(image({"info", names[i]}).out.substr(0, 10), "size: 2x1\n") << names[i];
    }
}

TEST(pmt3d_image, convert_loses_nothing) {
    const temporary_directory folder;
    struct {
        pixel_descriptor descriptor;
        const char *from, *to;
        const char* line; // of the refusal; empty: it is done
    } const cases[] = {
        {{8, 1, 3}, "a.png", "a.bmp", ""},
        {{8, 1, 3}, "a.png", "a.tga", ""},
        {{9, 1, 3}, "a.png", "a.tga", ""},
        {{10, 1, 3}, "a.bmp", "a.png", ""},
        {{11, 1, 3}, "a.tga", "a.png", ""},
        {{0, 1, 1}, "a.png", "a.bmp", ""},
        {{1, 1, 3}, "a.png", "a.tga", ""},
        {{0, 1, 2}, "a.png", "a.tga", ""},
        {{10, 1, 3}, "a.bmp", "b.tga", ""},
        {{11, 1, 3}, "a.tga", "a.bmp", "convert(to bmp): not supported format.\n"},
        {{9, 1, 3}, "a.png", "a.jpg", "convert(to jpeg): not supported format.\n"},
        {{8, 1, 5}, "a.png", "a.bmp", "convert(to bmp): not supported format.\n"},
        {{0, 1, 5}, "a.png", "a.tga", "convert(to tga): not supported format.\n"},
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
    const std::string from = folder.file("in.png"), to = folder.file("out.png");
    const image2d colours = waves(20, 12, {8, 1, 3});
    ASSERT_TRUE(libgr::autosaveformat(colours, from));
    struct {
        const char* name;
        bool (*operation)(image2d&, const image2d&);
    } const cases[] = {
        {"grey", libgr::rgb2grey}, {"normalmap", libgr::normalmap}, {"scaledown", libgr::scaledown}};
    for (const auto& c : cases) {
        image2d expected, read;
        ASSERT_EQ(image({c.name, from, to}).exit_code, 0) << c.name;
        ASSERT_TRUE(libgr::autoloadformat(read, to));
        ASSERT_TRUE(c.operation(expected, colours));
        ASSERT_EQ(read.width, expected.width);
        ASSERT_EQ(read.pixels.size(), expected.pixels.size());
        EXPECT_EQ(std::memcmp(read.pixels.data(), expected.pixels.data(), read.pixels.size()), 0) << c.name;
        if (read.descriptor.format != 0) continue;
        // The grey one is a height map, in whatever format and with whatever alpha.
        ASSERT_TRUE(libgr::normalmap(expected, expected));
        for (const char* format : {"a.bmp", "a.tga", "a.png"}) {
            const std::string copy = folder.file(format), heights = folder.file("heights.bmp");
            ASSERT_EQ(image({"convert", from, copy}).exit_code, 0);
            ASSERT_EQ(image({"grey", copy, heights}).exit_code, 0);
            ASSERT_EQ(image({"grey", heights, heights}).exit_code, 0);
            ASSERT_TRUE(libgr::convert_format(read, read, libgr::pixel_format::luminance_alpha));
            ASSERT_TRUE(libgr::autosaveformat(read, folder.file("clear.png")));
            for (const std::string& height_map : {heights, folder.file("clear.png")}) {
                ASSERT_EQ(image({"normalmap", height_map, folder.file("n.png")}).exit_code, 0);
                image2d normals;
                ASSERT_TRUE(libgr::autoloadformat(normals, folder.file("n.png")));
                ASSERT_EQ(normals.pixels.size(), expected.pixels.size());
                EXPECT_EQ(std::memcmp(normals.pixels.data(), expected.pixels.data(), normals.pixels.size()),
                          0);
            }
        }
    }
    // Four channels of which the last says nothing are a picture for everybody.
    image2d plain = waves(5, 3, {11, 1, 3});
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
    int turned = 0;
    for (const char* sampling :
         {"1x1", "2x1", "1x2", "2x2", "4x1", "1x4", "4x2,1x1,1x1", "2x2,1x2,2x1", "1x1,2x2,1x2"})
        for (const char* coding : {"-baseline", "-progressive", "-arithmetic", "-grayscale", "-rgb"}) {
            ASSERT_EQ(run({"cjpeg", coding, "-sample", sampling, "-outfile", from, source}).exit_code, 0);
            for (int turns = 1; turns <= 3; ++turns) {
                ASSERT_EQ(run({"jpegtran", "-copy", "all", "-perfect", "-rotate", std::to_string(90 * turns),
                               "-outfile", theirs, from})
                              .exit_code,
                          0);
                const process_result result = image({"turn", std::to_string(turns), from, ours});
                ASSERT_EQ(result.exit_code, 0) << sampling << coding << result.err;
                EXPECT_EQ(run({"djpeg", ours}).out, run({"djpeg", theirs}).out)
                    << sampling << coding << turns;
                ++turned;
            }
        }
    EXPECT_EQ(turned, 9 * 5 * 3);
}

TEST(pmt3d_image, wrong_usage) {
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"info"},
        {"info", "a", "b"},
        {"convert", "a"},
        {"turn", "1", "a"},
        {"turn", "x", "a", "b"},
        {"turn", "", "a", "b"},
        {"turn", "1.5", "a", "b"},
        {"turn", "-", "a", "b"},
        {"sharpen", "a", "b"},
        {"--memory", "0", "info", "a.png"},
        {"--memory"},
    };
    for (const auto& words : cases) {
        const process_result result = image(words);
        EXPECT_EQ(result.exit_code, 2);
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
