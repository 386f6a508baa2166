#include "libgr/image/autoformat.h"
#include "libgr/image/jpeg_file.h"
#include "pictures.h"
#include "support/capture.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <jpeglib.h>

namespace {

using namespace libgr;
using test_support::capture;
using test_support::temporary_directory;

constexpr pixel_descriptor grey{0, 1, 3}, rgb{8, 1, 3}, ycbcr{14, 1, 3};

// A soft picture, which JPEG keeps nearly as it is.
image2d soft(std::uint32_t width, std::uint32_t height, pixel_descriptor descriptor = rgb) {
    image2d image = pictures::noise(width, height, descriptor);
    const std::uint32_t channels = components(descriptor.format);
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t i = 0; i < width * channels; ++i)
            image.row(y)[i] =
                static_cast<unsigned char>(40 + 3 * y + 2 * (i / channels) + 30 * (i % channels));
    return image;
}

pixel_bytes buffer(const std::string& bytes) {
    pixel_bytes made;
    EXPECT_TRUE(made.allocate(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), made.data());
    return made;
}

std::string text(const pixel_bytes& bytes) {
    return {bytes.data(), bytes.data() + bytes.size()};
}

jpeg_file encoded(const image2d& image, std::vector<jpeg_marker> markers = {}) {
    jpeg_file file;
    file.name = "test.jpg";
    file.markers = std::move(markers);
    EXPECT_TRUE(encode_jpeg(file, image, 95, true));
    return file;
}

// A file that libjpeg makes of 64 by 48 pixels, or of a square of one colour, the way `set_up` wants.
template <class SetUp>
jpeg_file coded(int components, J_COLOR_SPACE space, SetUp set_up, JDIMENSION plain_side = 0) {
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &bytes, &size);
    info.image_width = plain_side ? plain_side : 64;
    info.image_height = plain_side ? plain_side : 48;
    info.input_components = components;
    info.in_color_space = space;
    jpeg_set_defaults(&info);
    set_up(info);
    jpeg_start_compress(&info, TRUE);
    std::vector<JSAMPLE> row(info.image_width * std::size_t(components));
    while (info.next_scanline < info.image_height) {
        for (std::size_t i = 0; i < row.size() && !plain_side; ++i)
            row[i] = JSAMPLE(3 * info.next_scanline + i % 200);
        JSAMPROW one = row.data();
        jpeg_write_scanlines(&info, &one, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_file file;
    file.name = "test.jpg";
    file.bytes = buffer({bytes, bytes + size});
    jpeg_destroy_compress(&info);
    std::free(bytes);
    return file;
}

int largest_difference(const image2d& a, const image2d& b) {
    int largest = 0;
    const std::vector<int> x = pictures::bytes(a), y = pictures::bytes(b);
    EXPECT_EQ(x.size(), y.size());
    for (std::size_t i = 0; i < std::min(x.size(), y.size()); ++i)
        largest = std::max(largest, std::abs(x[i] - y[i]));
    return largest;
}

TEST(jpeg, keeps_a_soft_picture) {
    for (const pixel_descriptor d : {grey, rgb, ycbcr}) {
        const image2d image = soft(33, 17, d);
        jpeg_file file = encoded(image);
        image2d read;
        ASSERT_TRUE(decode_jpeg(read, file, d == ycbcr));
        EXPECT_EQ(read.descriptor, d);
        EXPECT_LE(largest_difference(read, image), 6) << d.format;
    }
}

TEST(jpeg, other_forms_are_not_written) {
    for (const pixel_descriptor d :
         {pixel_descriptor{8, 0, 3}, {10, 1, 3}, {9, 1, 3}, {8, 1, 5}, {1, 1, 3}}) {
        capture err(std::cerr);
        jpeg_file file;
        EXPECT_FALSE(encode_jpeg(file, pictures::noise(4, 4, d), 95, true));
        EXPECT_EQ(err.text(), "convert(to jpeg): not supported format.\n");
    }
    capture err(std::cerr);
    jpeg_file file;
    file.name = "wide.jpg";
    EXPECT_FALSE(encode_jpeg(file, pictures::noise(65501, 1), 95, true));
    EXPECT_EQ(err.text(), "wide.jpg: jpeg compress fail, stop.\n");
}

TEST(jpeg, other_colour_spaces_are_refused_with_one_line) {
    jpeg_file file = coded(4, JCS_CMYK, [](jpeg_compress_struct&) {});
    capture err(std::cerr);
    image2d image;
    EXPECT_FALSE(decode_jpeg(image, file));
    EXPECT_EQ(err.text(), "test.jpg: jpeg decompress fail, stop.\n");
}

TEST(jpeg, markers_are_written_back) {
    const std::vector<jpeg_marker> markers = {
        {0xFE, buffer("a comment")},
        {0xE0, buffer(std::string("JFIF\0\1\1\1\0\x48\0\x90\0\0", 14))},
        {0xE1, buffer(std::string(65533, 'x'))},
        {0xEE, buffer(std::string("Adobe\0\x64\0\0\0\0\0", 12))},
        {0xEF, buffer("")},
    };
    jpeg_file file = encoded(soft(16, 16), markers);
    image2d image;
    ASSERT_TRUE(decode_jpeg(image, file));
    ASSERT_EQ(file.markers.size(), 4u) << "the Adobe marker speaks of another coding";
    EXPECT_EQ(file.markers[0].code, 0xE0);
    EXPECT_EQ(text(file.markers[0].data).substr(7, 5), text(markers[1].data).substr(7, 5)) << "the density";
    EXPECT_EQ(text(file.markers[1].data), "a comment");
    EXPECT_EQ(text(file.markers[2].data), text(markers[2].data));
    EXPECT_EQ(file.markers[3].code, 0xEF);
}

TEST(jpeg, truncation_is_refused_and_a_missing_end_marker_is_not) {
    jpeg_file whole = encoded(soft(16, 16));
    image2d expected;
    ASSERT_TRUE(decode_jpeg(expected, whole));
    jpeg_file cut = whole;
    cut.bytes.set_view(0, whole.bytes.size() - 2);
    image2d image;
    ASSERT_TRUE(decode_jpeg(image, cut));
    EXPECT_EQ(pictures::bytes(image), pictures::bytes(expected));

    jpeg_file progressive = coded(3, JCS_RGB, [](auto& info) { jpeg_simple_progression(&info); });
    ASSERT_TRUE(decode_jpeg(image, progressive));
    progressive.bytes.set_view(0, progressive.bytes.size() - 2);
    capture err(std::cerr);
    EXPECT_FALSE(decode_jpeg(image, progressive)) << "another scan may have followed";
    EXPECT_EQ(err.text(), "test.jpg: jpeg decompress fail, stop.\n");
}

TEST(jpeg, damage_inside_is_got_over_and_behind_the_last_row_is_not) {
    struct {
        std::size_t at, erased; // counted from the end
        const char* inserted;
        const char* line;
    } const cases[] = {
        {60, 50, "", "test.jpg: jpeg decompress fail, but continue.\n"},
        {2, 0, "a whole sentence that is no marker", "test.jpg: jpeg decompress fail, stop.\n"},
        {2, 0, "\xFF\xC0", "test.jpg: jpeg decompress fail, stop.\n"}};
    const std::string whole = text(encoded(soft(64, 64)).bytes);
    for (const auto& c : cases) {
        jpeg_file file;
        file.name = "test.jpg";
        file.bytes = buffer(std::string(whole).replace(whole.size() - c.at, c.erased, c.inserted));
        capture err(std::cerr);
        image2d image;
        EXPECT_EQ(decode_jpeg(image, file), c.erased != 0);
        EXPECT_EQ(err.text(), c.line);
        EXPECT_EQ(image.width, c.erased ? 64u : 0);
    }
}

TEST(jpeg, few_bytes_do_not_make_many_pixels) {
    jpeg_file file = coded(3, JCS_RGB, [](auto&) {});
    std::string bytes = text(file.bytes);
    const std::size_t frame = bytes.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    bytes.replace(frame + 5, 4, std::string("\x10\0\x10\0", 4));
    file.bytes = buffer(bytes);
    capture err(std::cerr);
    image2d image;
    EXPECT_FALSE(decode_jpeg(image, file));
    EXPECT_FALSE(turn_jpeg(file, 2));
    EXPECT_EQ(err.take(), "test.jpg: jpeg decompress fail, stop.\ntest.jpg: jpeg transform fail, stop.\n");

    // But for arithmetic coding, which needs next to nothing for a plain surface.
    file = coded(
        1, JCS_GRAYSCALE, [](auto& info) { info.arith_code = TRUE; }, 3000);
    EXPECT_LT(file.bytes.size(), 130u);
    EXPECT_TRUE(decode_jpeg(image, file));
    EXPECT_EQ(err.text(), "");
}

TEST(jpeg, takes_the_memory_that_is_allowed) {
    // 48 blocks of one channel and 12 of each other; two bytes for a coefficient.
    constexpr std::uint64_t pixels = 64 * 48 * 3, coefficients = 72 * 64 * 2;
    for (const bool progressive : {false, true}) {
        jpeg_file file = coded(3, JCS_RGB, [&](auto& info) {
            if (progressive) jpeg_simple_progression(&info);
        });
        const std::uint64_t needed = pixels + (progressive ? coefficients : 0);
        image2d image;
        capture err(std::cerr);
        file.options.most_bytes = needed;
        EXPECT_TRUE(decode_jpeg(image, file));
        file.options.most_bytes = 2 * coefficients;
        jpeg_file turned = file;
        EXPECT_TRUE(turn_jpeg(turned, 1));
        EXPECT_EQ(err.take(), "");
        --file.options.most_bytes;
        EXPECT_FALSE(turn_jpeg(file, 1));
        file.options.most_bytes = needed - 1;
        EXPECT_FALSE(decode_jpeg(image, file));
        const std::string line = "test.jpg: picture needs 1 MiB of memory, more than the 0 MiB allowed.\n";
        EXPECT_EQ(err.text(), line + line);
    }
}

TEST(jpeg, scans_without_end_are_refused) {
    jpeg_file file = coded(3, JCS_RGB, [](auto& info) { jpeg_simple_progression(&info); });
    const std::string bytes = text(file.bytes);
    const std::size_t last =
        bytes.rfind("\xFF\xDA"); // start of the last scan, behind which only the end comes
    const std::string scan = bytes.substr(last, bytes.size() - 2 - last);
    std::string many = bytes.substr(0, last);
    for (int i = 0; i < 2000; ++i)
        many += scan;
    file.bytes = buffer(many + "\xFF\xD9");
    capture err(std::cerr);
    image2d image;
    EXPECT_FALSE(decode_jpeg(image, file));
    EXPECT_FALSE(turn_jpeg(file, 2));
    EXPECT_EQ(err.text(), "test.jpg: jpeg decompress fail, stop.\ntest.jpg: jpeg transform fail, stop.\n");
}

TEST(jpeg_turn, four_quarters_are_nothing_whatever_the_sampling) {
    struct {
        int h[3], v[3];
        bool progressive, arithmetic;
    } const cases[] = {
        {{1, 1, 1}, {1, 1, 1}, false, false}, {{2, 1, 1}, {1, 1, 1}, false, false},
        {{2, 1, 1}, {2, 1, 1}, true, false},  {{1, 1, 1}, {2, 1, 1}, false, true},
        {{4, 1, 2}, {1, 1, 1}, true, true},   {{1, 2, 1}, {1, 1, 2}, false, false},
    };
    for (const auto& c : cases) {
        jpeg_file file = coded(3, JCS_RGB, [&](jpeg_compress_struct& info) {
            for (int i = 0; i < 3; ++i) {
                info.comp_info[i].h_samp_factor = c.h[i];
                info.comp_info[i].v_samp_factor = c.v[i];
            }
            info.arith_code = c.arithmetic;
            if (c.progressive) jpeg_simple_progression(&info);
        });
        image2d before, after;
        ASSERT_TRUE(decode_jpeg(before, file));
        for (const int turns : {1, 2, 3, 2}) {
            ASSERT_TRUE(turn_jpeg(file, turns));
            ASSERT_TRUE(decode_jpeg(after, file));
            EXPECT_EQ(after.width, turns == 1 ? 48u : turns == 2 ? after.width : 64u);
        }
        EXPECT_EQ(pictures::bytes(after), pictures::bytes(before));
    }
}

TEST(jpeg_turn, goes_clockwise) {
    image2d image = soft(16, 8, grey), turned;
    for (std::uint32_t y = 0; y < 8; ++y)
        std::fill_n(image.row(y), 16, static_cast<unsigned char>(y < 4 ? 20 : 220)); // the top is bright
    jpeg_file file = encoded(image);
    ASSERT_TRUE(turn_jpeg(file, 1));
    ASSERT_TRUE(decode_jpeg(turned, file));
    EXPECT_EQ(turned.width, 8u);
    EXPECT_EQ(turned.height, 16u);
    EXPECT_GT(*turned.pixel(7, 8), 200) << "the top is now on the right";
    EXPECT_LT(*turned.pixel(0, 8), 40);
}

TEST(jpeg_turn, refuses_what_it_cannot_do_exactly) {
    struct {
        std::uint32_t width, height;
        int turns;
        const char* line;
    } const cases[] = {
        {16, 16, 4, "4: jpeg transform rightrotate count over.\n"},
        {16, 16, -1, "-1: jpeg transform rightrotate count over.\n"},
        {17, 16, 1, ""},
        {17, 16, 2, "test.jpg: transformation is not perfect\n"},
        {17, 16, 3, "test.jpg: transformation is not perfect\n"},
        {16, 24, 1, "test.jpg: transformation is not perfect\n"},
        {16, 24, 3, ""},
        {17, 17, 0, ""},
    };
    for (const auto& c : cases) {
        capture err(std::cerr);
        jpeg_file file = encoded(soft(c.width, c.height)); // sampled 2 by 2: units of 16 by 16 pixels
        const std::string before = text(file.bytes);
        EXPECT_EQ(turn_jpeg(file, c.turns), *c.line == 0) << c.width << ' ' << c.height << ' ' << c.turns;
        EXPECT_EQ(err.text(), c.line);
        EXPECT_EQ(text(file.bytes) == before, *c.line != 0 || c.turns == 0);
    }
    jpeg_file file = encoded(soft(16, 16));
    file.bytes.set_view(0, file.bytes.size() - 2);
    capture err(std::cerr);
    EXPECT_FALSE(turn_jpeg(file, 1)) << "a warning of the coder is a failure";
    EXPECT_FALSE(turn_jpeg(file, 0));
    EXPECT_EQ(err.text(), "test.jpg: jpeg transform fail, stop.\ntest.jpg: jpeg transform fail, stop.\n");
}

TEST(jpeg_turn, keeps_the_markers_and_the_camera_knows_the_new_size) {
    using pictures::le;
    const auto entry = [](int tag, int type, std::uint32_t value) {
        return le(std::uint64_t(tag), 2) + le(std::uint64_t(type), 2) + le(1, 4) + le(value, 4);
    };
    const auto exif = [&](std::uint32_t width, std::uint32_t height) {
        return std::string("Exif\0\0II*\0", 10) + le(8, 4) + le(2, 2) + entry(0x112, 3, 6) +
               entry(0x8769, 4, 38) + le(0, 4) + le(2, 2) + entry(0xA002, 4, width) +
               entry(0xA003, 3, height) + le(0, 4);
    };
    // Also what only looks like one: directories outside the data must be left alone.
    for (const std::string& notes :
         {exif(32, 16), std::string("Exif\0\0MM\0*\0\0\0\x08\0", 15),
          std::string("Exif\0\0II*\0\xff\xff\xff\xff\1\0", 16), exif(32, 16).substr(0, 40)}) {
        jpeg_file file = encoded(soft(32, 16), {{0xE1, buffer(notes)}, {0xFE, buffer("note")}});
        // An Exif file begins with its notes: take the encoder's own header away.
        std::string bytes = text(file.bytes);
        bytes.erase(2, 18);
        file.bytes = buffer(bytes);
        ASSERT_TRUE(turn_jpeg(file, 1));
        image2d image;
        ASSERT_TRUE(decode_jpeg(image, file));
        ASSERT_EQ(file.markers.size(), 2u);
        EXPECT_EQ(text(file.markers[0].data), notes == exif(32, 16) ? exif(16, 32) : notes);
        EXPECT_EQ(text(file.markers[1].data), "note");
    }
}

TEST(jpeg, files_that_are_not_there) {
    const temporary_directory folder;
    capture err(std::cerr);
    image2d image;
    EXPECT_FALSE(autoloadformat(image, folder.file("none.jpg")));
    EXPECT_FALSE(autoloadformat(image, folder.write("empty.JPG", "")));
    EXPECT_FALSE(autoloadformat(image, folder.write("text.jpg", "no picture")));
    EXPECT_EQ(err.text(), folder.file("none.jpg") + ": file stat failed.\n" + folder.file("empty.JPG") +
                              ": file load failed.\n" + folder.file("text.jpg") +
                              ": jpeg decompress fail, stop.\n");
}

} // namespace
