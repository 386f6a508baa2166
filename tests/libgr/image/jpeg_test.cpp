#include "libgr/image/jpeg_file.h"
#include "pictures.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <jpeglib.h>

namespace {

using namespace libgr;
using namespace std::string_literals;
using pictures::said;

// A soft picture, which JPEG keeps nearly as it is.
image2d soft(std::uint32_t width, std::uint32_t height, pixel_descriptor descriptor = kinds::rgb8) {
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

jpeg_file file_of(const std::string& bytes) {
    jpeg_file file;
    file.name = "test.jpg";
    file.bytes = buffer(bytes);
    return file;
}

void expect_near(const image2d& is, const image2d& should, int tolerance) {
    const std::vector<int> a = pictures::bytes(is), b = pictures::bytes(should);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        ASSERT_NEAR(a[i], b[i], tolerance) << "byte " << i;
}

jpeg_file encoded(const image2d& image, jpeg_markers markers = {}, int quality = 95, bool baseline = true) {
    jpeg_file file;
    file.name = "test.jpg";
    file.markers = std::move(markers);
    EXPECT_TRUE(encode_jpeg(file, image, quality, baseline));
    return file;
}

// The bytes that libjpeg makes of 64 by 48 pixels, or of a square of one colour, the way `set_up` wants.
template <class SetUp>
std::string coded(int components, J_COLOR_SPACE space, SetUp set_up, JDIMENSION plain_side = 0) {
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
    std::string all(bytes, bytes + size);
    jpeg_destroy_compress(&info);
    std::free(bytes);
    return all;
}

constexpr auto usual = [](jpeg_compress_struct&) {};
constexpr auto progressive = [](auto& info) { jpeg_simple_progression(&info); };
constexpr auto arithmetic = [](auto& info) { info.arith_code = TRUE; };

TEST(jpeg, keeps_a_soft_picture) {
    for (const pixel_descriptor& d : {kinds::grey8, kinds::rgb8, kinds::ycbcr8}) {
        const image2d image = soft(33, 17, d);
        jpeg_file file = encoded(image);
        image2d read;
        ASSERT_TRUE(decode_jpeg(read, file, d == kinds::ycbcr8));
        EXPECT_EQ(read.descriptor, d);
        expect_near(read, image, 6);
    }
    // Only without the flag do steps take more than 8 bits, as the first byte of their table says.
    for (const bool baseline : {true, false}) {
        const std::string bytes = text(encoded(soft(8, 8), {}, 1, baseline).bytes);
        EXPECT_EQ(bytes[bytes.find("\xFF\xDB") + 4], baseline ? 0 : 0x10);
    }
}

TEST(jpeg, what_is_decoded_and_turned_and_what_is_refused) {
    constexpr char decoding[] = "test.jpg: jpeg decompress fail, stop.\n",
                   turning[] = "test.jpg: jpeg transform fail, stop.\n",
                   needs[] = "test.jpg: picture needs 1 MiB of memory, more than the 0 MiB allowed.\n";
    const std::string whole = text(encoded(soft(64, 64)).bytes), scans = coded(3, JCS_RGB, progressive);
    std::string huge = coded(3, JCS_RGB, usual), endless = scans;
    huge.replace(huge.find("\xFF\xC0") + 5, 4, "\x10\0\x10\0"s);
    const std::string last =
        scans.substr(scans.rfind("\xFF\xDA"), scans.size() - 2 - scans.rfind("\xFF\xDA"));
    for (int i = 0; i < 500; ++i)
        endless.insert(scans.size() - 2, last);
    const auto damaged = [&](std::size_t from_end, std::size_t erased, const std::string& inserted) {
        return std::string(whole).replace(whole.size() - from_end, erased, inserted);
    };
    constexpr std::uint64_t usual_memory = read_options().most_bytes;
    // 48 blocks of one channel and 12 of each other; two bytes for a coefficient.
    constexpr std::uint64_t pixels = 64 * 48 * 3, coefficients = 72 * 64 * 2;
    struct {
        const char* name;
        std::string bytes;
        std::string decoded, turned; // what is said; nothing: done
        std::uint64_t most_bytes = usual_memory;
    } const cases[] = {
        {"whole", whole, "", ""},
        {"four channels", coded(4, JCS_CMYK, usual), decoding, ""},
        {"without the end's marker", whole.substr(0, whole.size() - 2), "", turning},
        {"another scan may have followed", scans.substr(0, scans.size() - 2), decoding, turning},
        {"damaged inside", damaged(60, 50, ""), "test.jpg: jpeg decompress fail, but continue.\n", turning},
        {"damaged behind the last row", damaged(2, 0, "a sentence that is no marker"), decoding, turning},
        {"few bytes of many pixels", huge, decoding, turning},
        {"few bytes of one colour", coded(1, JCS_GRAYSCALE, arithmetic, 3000), "", ""},
        {"scans without end", endless, decoding, turning},
        {"memory", coded(3, JCS_RGB, usual), "", "", 2 * coefficients},
        {"memory", coded(3, JCS_RGB, usual), "", needs, pixels},
        {"memory", coded(3, JCS_RGB, usual), needs, needs, pixels - 1},
        {"memory", scans, "", "", pixels + coefficients},
        {"memory", scans, needs, needs, pixels + coefficients - 1},
    };
    for (const auto& c : cases) {
        jpeg_file file = file_of(c.bytes);
        file.options.most_bytes = c.most_bytes;
        image2d image;
        const bool is_picture = c.decoded.empty() || c.decoded.find("continue") != std::string::npos;
        EXPECT_EQ(said([&] { EXPECT_EQ(decode_jpeg(image, file), is_picture) << c.name; }), c.decoded)
            << c.name;
        EXPECT_EQ(image.width != 0, is_picture) << c.name;
        EXPECT_EQ(said([&] { EXPECT_EQ(turn_jpeg(file, 2), c.turned.empty()); }), c.turned) << c.name;
        EXPECT_TRUE(c.turned.empty() || text(file.bytes) == c.bytes) << c.name;
    }
}

TEST(jpeg, markers_are_written_back) {
    const jpeg_markers markers = {{0xFE, buffer("a comment")},
                                  {0xE0, buffer("JFIF\0\1\1\1\0\x48\0\x90\0\0"s)},
                                  {0xE1, buffer(std::string(65533, 'x'))},
                                  {0xEE, buffer("Adobe\0\x64\0\0\0\0\0"s)},
                                  {0xEF, buffer("")}};
    jpeg_file file = encoded(soft(16, 16), markers);
    image2d image;
    for (const char* density : {"\1\0\x48\0\x90", "\1\0\x90\0\x48"}) { // turned, the other way round
        ASSERT_TRUE(decode_jpeg(image, file));
        ASSERT_EQ(file.markers.size(), 4u) << "the Adobe marker speaks of another coding";
        EXPECT_EQ(file.markers[0].code, 0xE0);
        EXPECT_EQ(text(file.markers[0].data).substr(7, 5), std::string(density, 5));
        EXPECT_EQ(text(file.markers[1].data), "a comment");
        EXPECT_EQ(text(file.markers[2].data), text(markers[2].data));
        EXPECT_EQ(file.markers[3].code, 0xEF);
        ASSERT_TRUE(turn_jpeg(file, 1));
    }
}

TEST(jpeg_turn, refuses_what_it_cannot_do_exactly) {
    const std::string no = "test.jpg: transformation is not perfect\n",
                      over = ": jpeg transform rightrotate count over.\n";
    struct {
        std::uint32_t width, height;
        int turns;
        std::string line;
    } const cases[] = {{16, 16, 4, "4" + over}, {16, 16, -1, "-1" + over}, {17, 16, 1, ""},
                       {17, 16, 2, no},         {17, 16, 3, no},           {16, 24, 1, no},
                       {16, 24, 2, no},         {16, 24, 3, ""},           {17, 17, 0, ""}};
    for (const auto& c : cases) {
        jpeg_file file = encoded(soft(c.width, c.height)); // sampled 2 by 2: units of 16 by 16 pixels
        const std::string before = text(file.bytes);
        EXPECT_EQ(said([&] { EXPECT_EQ(turn_jpeg(file, c.turns), c.line.empty()); }), c.line)
            << c.width << ' ' << c.height << ' ' << c.turns;
        EXPECT_EQ(text(file.bytes) == before, !c.line.empty() || c.turns == 0);
    }
}

TEST(jpeg_turn, pixels_go_round_to_the_right) {
    for (const int turns : {1, 2, 3}) {
        image2d expected = soft(32, 16), turned;
        jpeg_file file = encoded(expected);
        ASSERT_TRUE(turn_jpeg(file, turns) && decode_jpeg(turned, file));
        for (int i = 0; i < turns; ++i) {
            image2d next = soft(expected.height, expected.width);
            for (std::uint32_t y = 0; y < expected.height; ++y)
                for (std::uint32_t x = 0; x < expected.width; ++x)
                    std::copy_n(expected.pixel(x, y), 3, next.pixel(y, expected.width - 1 - x));
            expected = next;
        }
        expect_near(turned, expected, 8);
    }
}

TEST(jpeg_turn, the_camera_knows_the_new_size) {
    using pictures::le;
    const auto entry = [](int tag, int type, std::uint32_t value) {
        return le(std::uint64_t(tag), 2) + le(std::uint64_t(type), 2) + le(1, 4) + le(value, 4);
    };
    const auto exif = [&](std::uint32_t width, std::uint32_t height) {
        return "Exif\0\0II*\0"s + le(8, 4) + le(2, 2) + entry(0x112, 3, 6) + entry(0x8769, 4, 38) + le(0, 4) +
               le(2, 2) + entry(0xA002, 4, width) + entry(0xA003, 3, height) + le(0, 4);
    };
    const std::string nothing = "Exif\0\0MM\0*\0\0\0\x08\0"s, outside = "Exif\0\0II*\0\xff\xff\xff\xff\1\0"s;
    const std::pair<std::string, std::string> cases[] = {
        {exif(32, 16), exif(16, 32)},
        // What only looks like such notes, and entries outside or partly outside them, are left alone.
        {nothing, nothing},
        {outside, outside},
        {exif(32, 16).substr(0, 40), exif(32, 16).substr(0, 40)},
        {exif(32, 16).substr(0, 66), exif(16, 16).substr(0, 66)}};
    for (const auto& [before, after] : cases) {
        jpeg_file file = encoded(soft(32, 16), {{0xE1, buffer(before)}, {0xFE, buffer("note")}});
        // An Exif file begins with its notes: take the encoder's own header away.
        file = file_of(text(file.bytes).erase(2, 18));
        image2d image;
        ASSERT_TRUE(turn_jpeg(file, 1));
        ASSERT_TRUE(decode_jpeg(image, file));
        ASSERT_EQ(file.markers.size(), 2u);
        EXPECT_EQ(text(file.markers[0].data), after);
        EXPECT_EQ(text(file.markers[1].data), "note");
    }
}

} // namespace
