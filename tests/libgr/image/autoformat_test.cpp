// What all formats have in common: names, files that are not there, forms that are written and come back.
#include "libgr/image/autoformat.h"

#include "libgr/image/bmp.h"
#include "libgr/image/png_file.h"
#include "pictures.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#ifdef __linux__
#include <sys/resource.h>
#endif

namespace {

using namespace libgr;
using namespace libgr::kinds;
using pictures::noise;
using pictures::said;
using test_support::temporary_directory;

TEST(autoformat, the_extension_decides_whatever_its_case) {
    using enum file_format;
    const std::pair<const char*, file_format> cases[] = {
        {"a.JPG", jpeg},     {"a.b.Bmp", bmp}, {".png", png}, {"a.tGa", tga},
        {"a.jpeg", unknown}, {"jpg", unknown}, {"", unknown}, {"a.png ", unknown}};
    for (const auto& [name, format] : cases)
        EXPECT_EQ(format_of(name), format) << name;

    image2d image = noise(2, 2);
    EXPECT_EQ(said([&] { EXPECT_FALSE(autoloadformat(image, "a.jpeg")); }),
              "autoloadformat load fail, fname=a.jpeg\n");
    EXPECT_EQ(said([&] { EXPECT_FALSE(autosaveformat(image, "a.gif")); }),
              "autosaveformat load fail, fname=a.gif\n");
    EXPECT_EQ(image.width, 2u);
}

TEST(autoformat, files_that_are_no_pictures_are_one_line) {
    const temporary_directory folder;
    struct {
        std::string name, line;
    } const cases[] = {
        {folder.file("none.jpg"), ": file stat failed."},
        {folder.file("none.bmp"), ": file stat failed."},
        {folder.file("none.tga"), ": file stat failed."},
#ifndef _WIN32 // in the system's own words
        {folder.file("none.png"), ": file open error, No such file or directory"},
#endif
        {folder.write("empty.JPG", ""), ": file load failed."},
        {folder.write("empty.bmp", ""), ": file load failed."},
        {folder.write("empty.tga", ""), ": file load failed."},
        {folder.write("empty.png", ""), ": not a png file."},
        {folder.write("words.jpg", "no picture"), ": jpeg decompress fail, stop."},
        {folder.write("words.bmp", std::string(100, 'B')), ": not a bmp file."},
        {folder.write("short.bmp", "BM"), ": not a bmp file."},
        {folder.write("short.tga", std::string(17, '\2')), ": not a tga file."},
        {folder.write("words.png", "no picture"), ": not a png file."},
    };
    for (const auto& c : cases) {
        image2d image = noise(1, 2);
        EXPECT_EQ(said([&] { EXPECT_FALSE(autoloadformat(image, c.name)); }), c.name + c.line + "\n");
        EXPECT_EQ(image.height, 2u);
    }
}

TEST(autoformat, what_a_format_takes_comes_back_and_the_rest_is_refused) {
    constexpr auto of = [](std::uint32_t format, std::uint32_t type, std::uint32_t bits) {
        return pixel_descriptor{format, type, bits};
    };
    constexpr pixel_descriptor numbers = {pixel_format::color_index};
    struct {
        std::string name, format;
        std::vector<pixel_descriptor> taken, refused;
    } const cases[] = {
        {"a.bmp",
         "bmp",
         {grey1, grey4, grey8, bgr8},
         {bgra8, rgb8, grey2, grey16, of(pixel_format::bgr, 2, bits_class::bits_8), numbers}},
        {"a.tga",
         "tga",
         {grey8, bgr8, bgra8, bgra5551, rgb8, rgba8},
         {grey_alpha8, rgb16, grey4, of(pixel_format::rgb, 1, bits_class::packed_1_5_5_5), numbers}},
        {"a.png",
         "png",
         {grey1, grey2, grey4, grey8, grey16, grey_alpha8, grey_alpha16, rgb8, rgb16, rgba8, rgba16},
         {bgr8, bgra8, bgra5551, of(0, 1, bits_class::bits_12), of(0, 1, bits_class::bits_32),
          of(0, 2, bits_class::bits_16)}},
        {"a.jpg", "jpeg", {}, {bgr8, rgba8, rgb16, grey_alpha8, signed_rgb8}}};
    const temporary_directory folder;
    for (const auto& c : cases) {
        const std::string name = folder.write(c.name, "old");
        for (const pixel_descriptor& d : c.refused)
            EXPECT_EQ(said([&] { EXPECT_FALSE(autosaveformat(noise(3, 3, d), name)); }),
                      "convert(to " + c.format + "): not supported format.\n");
        for (std::uint8_t image2d::*const flag : {&image2d::topdown, &image2d::compressed}) {
            image2d image = noise(3, 3, c.taken.empty() ? grey8 : c.taken[0]);
            image.*flag = 1;
            const std::string line = said([&] { EXPECT_FALSE(autosaveformat(image, name)); });
            EXPECT_TRUE(line.ends_with(": not supported format.\n")) << c.name << line;
        }
        EXPECT_EQ(test_support::read_file(name), "old") << "a refused save leaves the old file";
        for (const pixel_descriptor& d : c.taken) {
            const image2d image = noise(13, 5, d, bits_per_pixel(d) % 8 ? 0 : 3);
            image2d read;
            ASSERT_TRUE(autosaveformat(image, name));
            ASSERT_TRUE(autoloadformat(read, name)) << c.name << d.format << ' ' << d.bits;
            std::vector<int> expected = pictures::bytes(image);
            const bool swapped = c.format == "tga" && (d == rgb8 || d == rgba8);
            for (std::size_t i = 0; swapped && i < expected.size(); i += components(d.format))
                std::swap(expected[i], expected[i + 2]);
            EXPECT_EQ(read.descriptor, !swapped ? d : d == rgb8 ? bgr8 : bgra8);
            EXPECT_EQ(pictures::bytes(read), expected) << c.name << d.format << ' ' << d.bits;
        }
    }
    const std::string wide = folder.file("wide.jpg");
    EXPECT_EQ(said([&] { EXPECT_FALSE(autosaveformat(noise(65501, 1), wide)); }),
              wide + ": jpeg compress fail, stop.\n");
    EXPECT_EQ(said([&] { EXPECT_FALSE(autosaveformat(noise(65536, 1), folder.file("a.tga"))); }),
              "convert(to tga): picture too large.\n");
    // What only libpng knows to be none.
    for (const pixel_descriptor& d : {unsigned_samples(pixel_format::rgb, bits_class::bits_4),
                                      unsigned_samples(pixel_format::color_index)}) {
        const std::string line =
            said([&] { EXPECT_FALSE(save_png(noise(2, 2, d), folder.write("a.png", "old"))); });
        EXPECT_TRUE(line.starts_with("FAIL: " + folder.file("a.png"))) << line;
        EXPECT_EQ(std::ranges::count(line, '\n'), 1);
        EXPECT_EQ(test_support::read_file(folder.file("a.png")), "old");
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 4)
        << "nothing left beside";
}

TEST(autoformat, what_cannot_be_written_leaves_the_old_file) {
    const temporary_directory folder;
    for (const char* extension : {".jpg", ".bmp", ".png", ".tga"}) {
        const std::string nowhere = folder.file(std::string("nowhere/a") + extension);
        EXPECT_EQ(said([&] { EXPECT_FALSE(autosaveformat(noise(2, 2), nowhere)); }),
                  nowhere + ": file open error.\n");
#ifdef __linux__
        const std::string name = folder.write(std::string("a") + extension, "old");
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        signal(SIGXFSZ, SIG_IGN);
        const image2d large = noise(200, 200);
        const rlimit full_disk{4096, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full_disk);
        const std::string line = said([&] { EXPECT_FALSE(autosaveformat(large, name)); });
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(std::ranges::count(line, '\n'), 1) << line;
        EXPECT_NE(line.find("file write error"), std::string::npos) << line;
        EXPECT_EQ(test_support::read_file(name), "old");
#endif
    }
}

} // namespace
