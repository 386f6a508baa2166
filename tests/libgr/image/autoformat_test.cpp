#include "libgr/image/autoformat.h"
#include "libgr/image/convert.h"
#include "pictures.h"
#include "support/capture.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#ifdef __linux__
#include <sys/resource.h>
#endif

namespace {

using namespace libgr;
using test_support::capture;
using test_support::temporary_directory;

TEST(autoformat, the_extension_decides_whatever_its_case) {
    struct {
        const char* name;
        file_format expected;
    } const cases[] = {
        {"a.jpg", file_format::jpeg},  {"a.JPG", file_format::jpeg}, {"a.b.Bmp", file_format::bmp},
        {".png", file_format::png},    {"a.tGa", file_format::tga},  {"a.jpeg", file_format::unknown},
        {"jpg", file_format::unknown}, {"", file_format::unknown},   {"a.png ", file_format::unknown},
    };
    for (const auto& c : cases)
        EXPECT_EQ(format_of(c.name), c.expected) << c.name;

    capture err(std::cerr);
    image2d image = pictures::noise(2, 2);
    EXPECT_FALSE(autoloadformat(image, "a.jpeg"));
    EXPECT_FALSE(autosaveformat(image, "a.gif"));
    EXPECT_EQ(err.text(), "autoloadformat load fail, fname=a.jpeg\nautosaveformat load fail, fname=a.gif\n");
    EXPECT_EQ(image.width, 2u);
}

TEST(autoformat, a_file_that_cannot_be_written_is_one_line) {
    const temporary_directory folder;
    for (const char* extension : {".jpg", ".bmp", ".png", ".tga"}) {
        const std::string name = folder.file(std::string("nowhere/a") + extension);
        capture err(std::cerr);
        EXPECT_FALSE(autosaveformat(pictures::noise(2, 2), name));
        EXPECT_EQ(err.text(), name + ": file open error.\n");
    }
}

#ifdef __linux__
TEST(autoformat, a_full_disk_leaves_the_old_file) {
    const temporary_directory folder;
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_IGN);
    for (const char* extension : {".jpg", ".bmp", ".png", ".tga"}) {
        const std::string name = folder.write(std::string("a") + extension, "old");
        const image2d large = pictures::noise(200, 200);
        const rlimit small{4096, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        std::string line;
        {
            capture err(std::cerr);
            EXPECT_FALSE(autosaveformat(large, name));
            line = err.text();
        }
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(std::ranges::count(line, '\n'), 1) << line;
        EXPECT_NE(line.find("file write error"), std::string::npos) << line;
        EXPECT_EQ(test_support::read_file(name), "old");
    }
}

long peak_memory() { // KiB
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}
#else
long peak_memory() {
    return 0;
}
#endif

// Makes a new file rather than emptying the old one, whose contents some file systems then wait for.
std::string fresh_file(const temporary_directory& folder, const std::string& name, std::string_view bytes) {
    std::filesystem::remove(folder.file(name));
    return folder.write(name, bytes);
}

struct small_file {
    const char* extension;
    pixel_descriptor descriptor;
};
constexpr small_file small_files[] = {
    {".jpg", {8, 1, 3}}, {".jpg", {0, 1, 3}}, {".bmp", {10, 1, 3}}, {".png", {9, 1, 3}},
    {".png", {0, 1, 1}}, {".tga", {0, 1, 3}}, {".tga", {11, 1, 3}},
};

// Each cut into a file of its own, so that nothing lies behind its end but the end of a page.
TEST(autoformat, truncation_at_every_byte_is_refused_with_one_line) {
    const temporary_directory folder;
    for (const small_file& kind : small_files) {
        const std::string whole = folder.file(std::string("whole") + kind.extension);
        ASSERT_TRUE(autosaveformat(pictures::noise(5, 3, kind.descriptor), whole));
        image2d expected;
        ASSERT_TRUE(autoloadformat(expected, whole));
        const std::string bytes = test_support::read_file(whole);
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            const std::string name = fresh_file(folder, std::string("cut") + kind.extension,
                                                std::string_view(bytes).substr(0, length));
            capture err(std::cerr);
            image2d image;
            if (autoloadformat(image, name)) {
                // Only the marker of a JPEG file's end can be missing without a loss.
                EXPECT_EQ(std::string_view(kind.extension), ".jpg");
                EXPECT_GE(length, bytes.size() - 2);
                EXPECT_EQ(pictures::bytes(image), pictures::bytes(expected));
            } else {
                EXPECT_EQ(std::ranges::count(err.text(), '\n'), 1) << err.text();
                EXPECT_TRUE(image.pixels.empty());
            }
        }
    }
}

// Every byte of the first ones in the small files in turn set to the extremes: whatever becomes of it, it is
// a picture with all its pixels or one line, and memory stays small.
TEST(autoformat, damaged_bytes_do_no_harm) {
    const temporary_directory folder;
    const long before = peak_memory();
    for (const small_file& kind : small_files) {
        const std::string whole = folder.file(std::string("whole") + kind.extension);
        ASSERT_TRUE(autosaveformat(pictures::noise(5, 3, kind.descriptor), whole));
        std::string bytes = test_support::read_file(whole);
        for (std::size_t at = 0; at < std::min<std::size_t>(bytes.size(), 200); ++at) {
            const char original = bytes[at];
            for (const int value : {0x00, 0x80, 0xFF}) {
                bytes[at] = char(value);
                const std::string name = fresh_file(folder, std::string("bad") + kind.extension, bytes);
                capture err(std::cerr);
                image2d image;
                if (autoloadformat(image, name)) {
                    EXPECT_TRUE(image.holds_pixels());
                    EXPECT_LE(pictures::bytes(image).size(), 1u << 20);
                }
                EXPECT_LE(std::ranges::count(err.text(), '\n'), 1) << err.text();
            }
            bytes[at] = original;
        }
    }
#ifdef __SANITIZE_ADDRESS__
    constexpr long most = 512 * 1024; // it keeps what was freed for a while
#else
    constexpr long most = 64 * 1024;
#endif
    EXPECT_LT(peak_memory() - before, most);
}

TEST(convert, forms_of_the_same_picture) {
    struct {
        pixel_descriptor from;
        std::vector<int> bytes;
        std::uint32_t format, bits;
        std::vector<int> expected;
    } const cases[] = {
        {{0, 1, 3}, {7}, 9, 3, {7, 7, 7, 255}},
        {{8, 1, 3}, {1, 2, 3}, 10, 3, {3, 2, 1}},
        {{8, 1, 3}, {1, 2, 3}, 11, 3, {3, 2, 1, 255}},
        {{11, 1, 3}, {1, 2, 3, 4}, 8, 3, {3, 2, 1}},
        {{1, 1, 3}, {1, 9}, 11, 3, {1, 1, 1, 9}},
        {{1, 1, 3}, {1, 9}, 0, 3, {1}},
        {{8, 1, 5}, {1, 2, 3, 4, 5, 6}, 10, 5, {5, 6, 3, 4, 1, 2}},
        {{0, 1, 3}, {0xAB}, 0, 5, {0xAB, 0xAB}},
        {{0, 1, 5}, {0x34, 0x12}, 0, 3, {0x12}},
        {{0, 1, 0}, {0x80}, 0, 3, {255}},
        {{0, 1, 1}, {0x80}, 0, 3, {170}},
        {{0, 1, 2}, {0x50}, 0, 3, {0x55}},
        {{11, 1, 11}, {0x1F, 0x84}, 11, 3, {255, 0, 8, 255}},
    };
    for (const auto& c : cases) {
        image2d source = pictures::noise(1, 1, c.from), made;
        std::copy(c.bytes.begin(), c.bytes.end(), source.row(0));
        ASSERT_TRUE(convert_bits(made, source, c.bits));
        ASSERT_TRUE(convert_format(made, made, c.format));
        EXPECT_EQ(made.descriptor, (pixel_descriptor{c.format, 1, c.bits}));
        EXPECT_EQ(pictures::bytes(made), c.expected) << c.from.format << ' ' << c.from.bits;
    }
    const image2d source = pictures::noise(2, 2, {8, 0, 3});
    image2d made;
    ASSERT_TRUE(convert_type(made, source, 1));
    EXPECT_EQ(made.pixels.data(), source.pixels.data());
    EXPECT_EQ(made.descriptor.type, 1u);
}

TEST(convert, what_is_not_provided_says_so) {
    struct {
        pixel_descriptor from;
        bool (*convert)(image2d&, const image2d&, std::uint32_t);
        std::uint32_t to;
        const char* line;
    } const cases[] = {
        {{8, 1, 3}, convert_format, 0, "not support format.\n"},
        {{17, 1, 3}, convert_format, 8, "not support format.\n"},
        {{8, 1, 3}, convert_format, 99, "not support format.\n"},
        {{8, 2, 5}, convert_format, 9, "not support image type.\n"},
        {{11, 1, 11}, convert_format, 8, "not support image bits.\n"},
        {{8, 2, 7}, convert_type, 1, "not support image type.\n"},
        {{8, 1, 3}, convert_type, 2, "not support image type.\n"},
        {{8, 1, 7}, convert_bits, 3, "not support image bits.\n"},
        {{8, 1, 3}, convert_bits, 0, "not support image bits.\n"},
        {{8, 0, 3}, convert_bits, 5, "not support image type.\n"},
        {{17, 1, 3}, convert_bits, 5, "not support format.\n"},
    };
    for (const auto& c : cases) {
        capture err(std::cerr);
        image2d made;
        EXPECT_FALSE(c.convert(made, pictures::noise(2, 2, c.from), c.to));
        EXPECT_EQ(err.text(), c.line);
    }
}

} // namespace
