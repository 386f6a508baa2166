#include "render/math/mathvalue.h"
#include "render/math/text.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <string>

namespace {

using namespace render;

constexpr const char* identity_text = "mtx3w(\t1.000000, 0.000000, 0.000000, 0.000000,\n"
                                      "\t0.000000, 1.000000, 0.000000, 0.000000,\n"
                                      "\t0.000000, 0.000000, 1.000000, 0.000000,\n"
                                      "\t0.000000, 0.000000, 0.000000, 1.000000)";

template <class T>
std::string text(const T& value) {
    std::ostringstream os;
    os << value;
    return os.str();
}

constexpr std::uint32_t untagged = 1000;

// A value's text, which is also what the tagged value prints, and its tag.
struct printed {
    template <class T>
    printed(const T& value) : is(text(value)) {
        if constexpr (mathvalue_payload<T>) {
            tag = mathvalue(value).tag;
            EXPECT_EQ(text(mathvalue(value)), is);
        }
    }
    std::string is;
    std::uint32_t tag = untagged;
};

TEST(text, of_every_type) {
    const struct {
        printed value;
        std::string expected;
        std::uint32_t tag = untagged;
    } cases[] = {
        {pos3{1, -2.5f, 0}, "pos3(1.000000, -2.500000, 0.000000)", 1},
        {dir3{0.1f, -0.0f, 1e10f}, "dir3(0.100000, -0.000000, 10000000000.000000)", 2},
        {pos2{1, 2}, "pos2(1.000000, 2.000000)", 3},
        {dir2{1, 2}, "dir2(1.000000, 2.000000)", 4},
        {pos2l{-2147483647 - 1, 7}, "pos2l(-2147483648, 7)", 5},
        {dir2l{-1, 2147483647}, "dir2l(-1, 2147483647)", 6},
        {vec3w{1, 2, 3, 4}, "vec3w(1.000000, 2.000000, 3.000000, 4.000000)", 15},
        {qua{1, 2, 3, 4}, "qua(1.000000, 2.000000, 3.000000, 4.000000)", 7},
        {rot3{30, {0, 0, 1}}, "rot3(30.000000, dir3(0.000000, 0.000000, 1.000000))", 8},
        {plr3{1, 2, 3}, "plr3(1.000000, 2.000000, 3.000000)", 10},
        {ang3{1, 2, 3}, "ang3(1.000000, 2.000000, 3.000000)", 11},
        {rev3{1, 2, 3}, "rev3(1.000000, 2.000000, 3.000000)", 12},
        {pst3w{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}},
         "pst3w(rev3(1.000000, 2.000000, 3.000000), rev3(4.000000, 5.000000, 6.000000), "
         "pos3(7.000000, 8.000000, 9.000000))",
         9},
        {srt3{1, {2, 3, 4}}, "srt3(1.000000, dir3(2.000000, 3.000000, 4.000000))", 13},
        {irt3{{1, 2, 3}, {4, {5, 6, 7}}},
         "irt3(rev3(1.000000, 2.000000, 3.000000), srt3(4.000000, dir3(5.000000, 6.000000, 7.000000)))", 14},
        {mtx3w::identity(), identity_text, 23},
        {col3{1, 2, 3}, "col3(1.000000, 2.000000, 3.000000)", 16},
        {col3a{1, 2, 3, 4}, "col3a(1.000000, 2.000000, 3.000000, 4.000000)", 17},
        {txc1{1}, "txc1(1.000000)", 18},
        {txc2{1, 2}, "txc2(1.000000, 2.000000)", 19},
        {txc2q{1, 2, 3}, "txc2q(1.000000, 2.000000, 3.000000)", 20},
        {txc3{1, 2, 3}, "txc3(1.000000, 2.000000, 3.000000)", 21},
        {txc3q{1, 2, 3, 4}, "txc3q(1.000000, 2.000000, 3.000000, 4.000000)", 22},
        {box2{{1, 2}, {3, 4}}, "box2(pos2(1.000000, 2.000000), pos2(3.000000, 4.000000))"},
        {box3{{1, 2, 3}, {4, 5, 6}},
         "box3(pos3(1.000000, 2.000000, 3.000000), pos3(4.000000, 5.000000, 6.000000))"},
        {dim2{~0ull, 0}, "dim2(18446744073709551615, 0)"},
        {dim3{1, 2, 3}, "dim3(1, 2, 3)"},
        {surface{1, 2, 3, 4}, "surface(1.000000, 2.000000, 3.000000, 4.000000)"},
        {line2d{1, 2, 3}, "line2d(1.000000, 2.000000, 3.000000)"},
        {line3d{{1, 2, 3}, mtx3w::identity(), mtx3w::identity()},
         std::string("line3d(dir3(1.000000, 2.000000, 3.000000), ") + identity_text + ", " + identity_text +
             ")"},
        {projection{-1, 1, -2, 2, 0.1, 1e3},
         "projection(-1.000000, 1.000000, -2.000000, 2.000000, 0.100000, 1000.000000)", 35},
        {col3aub{'1', '2', '3', '4'}, "col3aub(01020304)", 28},
        {col3ub{'a', 0, '\n'}, std::string("col3ub(0a0\0", 11) + "0\n)", 29},
        {col1aub{0xFF, 'A'}, std::string("col1aub(0\xFF") + "0A)", 30},
        {col1ub{'A'}, "col1ub(0A)", 31},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(one.value.is, one.expected);
        EXPECT_EQ(one.value.tag, one.tag) << one.expected;
    }
    EXPECT_EQ(text(mathvalue(1.5f)), "float(1.500000)");
    mathvalue nothing;
    for (const std::uint32_t tag : {24, 27, 32, 34, 36, 49}) {
        nothing.tag = tag;
        EXPECT_EQ(text(nothing), "") << tag;
    }
}

// Against the stream's own insertion under the same settings, whatever these are.
TEST(text, numbers_follow_the_stream) {
    struct comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    void (*const settings[])(std::ostream&) = {
        [](std::ostream&) {},
        [](std::ostream& os) {
            os << std::setprecision(0) << std::scientific << std::uppercase << std::showpoint;
        },
        [](std::ostream& os) { os << std::setprecision(17); },
        [](std::ostream& os) { os << std::setprecision(60) << std::showpos; },
        [](std::ostream& os) { os.imbue(std::locale(os.getloc(), new comma)); },
    };
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto set : settings)
        for (const float value :
             {-0.0f, 0.5f, 1.5f, -1.0f / 3, 123456.789f, 1e-45f, 5e-7f, -3.4e38f, inf, -inf, nan}) {
            std::ostringstream is, expected;
            set(is);
            set(expected);
            const auto flags = is.flags();
            is << txc1{value};
            expected << "txc1(" << std::fixed << double(value) << ")";
            EXPECT_EQ(is.str(), expected.str());
            EXPECT_EQ(is.flags(), flags);
        }
}

TEST(text, extremes_fit) {
    const double big = std::numeric_limits<double>::max();
    mtx3w m;
    for (float& element : m.m)
        element = -std::numeric_limits<float>::max();
    for (const std::size_t precision : {17, 300}) {
        std::ostringstream numbers, matrices;
        numbers << std::setprecision(int(precision)) << projection{-big, -big, -big, -big, -big, -big};
        matrices << std::setprecision(int(precision)) << line3d{{m[0], m[0], m[0]}, m, m};
        EXPECT_EQ(numbers.str().size(),
                  std::string("projection()").size() + 6 * (1 + 309 + 1 + precision) + 5 * 2);
        EXPECT_EQ(matrices.str().size(), std::string("line3d(dir3(), mtx3w(\t), mtx3w(\t))").size() +
                                             35 * (1 + 39 + 1 + precision) + 2 * 2 + 2 * (12 * 2 + 3 * 3));
    }
}

TEST(text, follows_only_the_flag_for_bases) {
    std::ostringstream os;
    os << std::showbase << std::left << std::setfill('*');
    const auto flags = os.flags();
    os << col1ub{0x41} << col3ub{'x', 'y', 'z'};
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.fill(), '*');
    os << std::hex << pos2l{-1, 255} << dim2{16, 17} << ' ' << 255;
    EXPECT_EQ(os.str(), "0xcol1ub(0A)0xcol3ub(0x0y0z)pos2l(-1, 255)dim2(16, 17) 0xff");
}

TEST(frame_record, is_several_lines) {
    const frame_record record = {{1, 2, 3, 4},
                                 mtx3w::identity(),
                                 {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}},
                                 {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                                 {{0.5f, 1, 2}, {3, 4, 5}, {6, 7, 1e10f}}};
    EXPECT_EQ(text(record), std::string("s: surface(1.000000, 2.000000, 3.000000, 4.000000)\n") +
                                identity_text + "\n" +
                                "l: line2d(1.000000, 1.000000, 1.000000)line2d(2.000000, 2.000000, 2.000000)"
                                "line2d(3.000000, 3.000000, 3.000000)\n"
                                "p: pos3(1.000000, 0.000000, 0.000000)pos3(0.000000, 1.000000, 0.000000)"
                                "pos3(0.000000, 0.000000, 1.000000)\n"
                                "0.5, 1, 2\n3, 4, 5\n6, 7, 1e+10\n");
}

} // namespace
