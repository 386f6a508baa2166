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

TEST(text, of_every_type) {
    const std::pair<std::string, std::string> cases[] = {
        {text(pos3{1, -2.5f, 0}), "pos3(1.000000, -2.500000, 0.000000)"},
        {text(dir3{0.1f, -0.0f, 1e10f}), "dir3(0.100000, -0.000000, 10000000000.000000)"},
        {text(pos2{1, 2}), "pos2(1.000000, 2.000000)"},
        {text(dir2{1, 2}), "dir2(1.000000, 2.000000)"},
        {text(pos2l{-2147483647 - 1, 7}), "pos2l(-2147483648, 7)"},
        {text(dir2l{-1, 2147483647}), "dir2l(-1, 2147483647)"},
        {text(vec3w{1, 2, 3, 4}), "vec3w(1.000000, 2.000000, 3.000000, 4.000000)"},
        {text(qua{1, 2, 3, 4}), "qua(1.000000, 2.000000, 3.000000, 4.000000)"},
        {text(rot3{30, {0, 0, 1}}), "rot3(30.000000, dir3(0.000000, 0.000000, 1.000000))"},
        {text(plr3{1, 2, 3}), "plr3(1.000000, 2.000000, 3.000000)"},
        {text(ang3{1, 2, 3}), "ang3(1.000000, 2.000000, 3.000000)"},
        {text(rev3{1, 2, 3}), "rev3(1.000000, 2.000000, 3.000000)"},
        {text(pst3w{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}),
         "pst3w(rev3(1.000000, 2.000000, 3.000000), rev3(4.000000, 5.000000, 6.000000), "
         "pos3(7.000000, 8.000000, 9.000000))"},
        {text(srt3{1, {2, 3, 4}}), "srt3(1.000000, dir3(2.000000, 3.000000, 4.000000))"},
        {text(irt3{{1, 2, 3}, {4, {5, 6, 7}}}),
         "irt3(rev3(1.000000, 2.000000, 3.000000), srt3(4.000000, dir3(5.000000, 6.000000, 7.000000)))"},
        {text(mtx3w::identity()), identity_text},
        {text(col3{1, 2, 3}), "col3(1.000000, 2.000000, 3.000000)"},
        {text(col3a{1, 2, 3, 4}), "col3a(1.000000, 2.000000, 3.000000, 4.000000)"},
        {text(txc1{1}), "txc1(1.000000)"},
        {text(txc2{1, 2}), "txc2(1.000000, 2.000000)"},
        {text(txc2q{1, 2, 3}), "txc2q(1.000000, 2.000000, 3.000000)"},
        {text(txc3{1, 2, 3}), "txc3(1.000000, 2.000000, 3.000000)"},
        {text(txc3q{1, 2, 3, 4}), "txc3q(1.000000, 2.000000, 3.000000, 4.000000)"},
        {text(box2{{1, 2}, {3, 4}}), "box2(pos2(1.000000, 2.000000), pos2(3.000000, 4.000000))"},
        {text(box3{{1, 2, 3}, {4, 5, 6}}),
         "box3(pos3(1.000000, 2.000000, 3.000000), pos3(4.000000, 5.000000, 6.000000))"},
        {text(dim2{~0ull, 0}), "dim2(18446744073709551615, 0)"},
        {text(dim3{1, 2, 3}), "dim3(1, 2, 3)"},
        {text(surface{1, 2, 3, 4}), "surface(1.000000, 2.000000, 3.000000, 4.000000)"},
        {text(line2d{1, 2, 3}), "line2d(1.000000, 2.000000, 3.000000)"},
        {text(line3d{{1, 2, 3}, mtx3w::identity(), mtx3w::identity()}),
         std::string("line3d(dir3(1.000000, 2.000000, 3.000000), ") + identity_text + ", " + identity_text +
             ")"},
        {text(projection{-1, 1, -2, 2, 0.1, 1e3}),
         "projection(-1.000000, 1.000000, -2.000000, 2.000000, 0.100000, 1000.000000)"},
        {text(col3aub{'1', '2', '3', '4'}), "col3aub(01020304)"},
        {text(col3ub{'a', 0, '\n'}), std::string("col3ub(0a0\0", 11) + "0\n)"},
        {text(col1aub{0xFF, 'A'}), "col1aub(0\xFF"
                                   "0A)"},
        {text(col1ub{'A'}), "col1ub(0A)"},
    };
    for (const auto& [is, expected] : cases)
        EXPECT_EQ(is, expected);
}

// Against the stream's own insertion under the same settings, whatever these are.
TEST(text, numbers_follow_the_stream) {
    struct comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const auto with_comma = [](std::ostream& os) { os.imbue(std::locale(os.getloc(), new comma)); };
    const std::vector<std::function<void(std::ostream&)>> settings = {
        [](std::ostream&) {},
        [](std::ostream& os) { os << std::setprecision(0); },
        [](std::ostream& os) { os << std::setprecision(17); },
        [](std::ostream& os) { os << std::setprecision(60) << std::showpos; },
        [](std::ostream& os) {
            os << std::scientific << std::uppercase << std::showpoint << std::setprecision(0);
        },
        with_comma,
    };
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    const float values[] = {0.0f,   -0.0f, 0.5f,  1.5f,     2.5f, -1.0f / 3, 123456.789f,
                            1e-45f, 1e-7f, 5e-7f, -3.4e38f, inf,  -inf,      nan};
    for (std::size_t s = 0; s < settings.size(); ++s) {
        for (const float value : values) {
            std::ostringstream is, expected;
            settings[s](is);
            settings[s](expected);
            const auto flags = is.flags();
            is << txc1{value};
            expected << "txc1(" << std::fixed << double(value) << ")";
            EXPECT_EQ(is.str(), expected.str()) << "setting " << s;
            EXPECT_EQ(is.flags(), flags);
        }
    }
}

TEST(text, extremes_fit) {
    const double big = std::numeric_limits<double>::max();
    std::ostringstream is;
    is << std::setprecision(17) << projection{-big, -big, -big, -big, -big, -big};
    EXPECT_EQ(is.str().size(), std::string("projection()").size() + 6 * (1 + 309 + 1 + 17) + 5 * 2);
    mtx3w m;
    for (float& element : m.m)
        element = -std::numeric_limits<float>::max();
    is.str("");
    is << line3d{{m[0], m[0], m[0]}, m, m};
    EXPECT_EQ(is.str().size(), std::string("line3d(dir3(), mtx3w(\t), mtx3w(\t))").size() +
                                   35 * (1 + 39 + 1 + 17) + 2 * 2 + 2 * (12 * 2 + 3 * 3));
}

TEST(text, bytes_on_a_stream_that_shows_bases) {
    std::ostringstream os;
    os << std::showbase << std::left << std::setfill('*');
    const auto flags = os.flags();
    os << col1ub{0x41} << col3ub{'x', 'y', 'z'};
    EXPECT_EQ(os.str(), "0xcol1ub(0A)0xcol3ub(0x0y0z)");
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.fill(), '*');
    EXPECT_EQ(text(pos2l{16, 255}), (std::ostringstream() << std::dec << pos2l{16, 255}).str());
}

TEST(text, integers_are_decimal_on_any_stream) {
    std::ostringstream os;
    os << std::hex << std::showbase << pos2l{-1, 255} << dim2{16, 17} << ' ' << 255;
    EXPECT_EQ(os.str(), "pos2l(-1, 255)dim2(16, 17) 0xff");
}

TEST(mathvalue, prints_what_its_tag_names) {
    // In the order of the tags; an empty text where nothing stands behind the tag.
    const std::pair<mathvalue, std::string> cases[] = {
        {1.5f, "float(1.500000)"},
        {pos3{}, "pos3("},
        {dir3{}, "dir3("},
        {pos2{}, "pos2("},
        {dir2{}, "dir2("},
        {pos2l{}, "pos2l("},
        {dir2l{}, "dir2l("},
        {qua{}, "qua("},
        {rot3{}, "rot3("},
        {pst3w{}, "pst3w("},
        {plr3{}, "plr3("},
        {ang3{}, "ang3("},
        {rev3{}, "rev3("},
        {srt3{}, "srt3("},
        {irt3{}, "irt3("},
        {vec3w{}, "vec3w("},
        {col3{}, "col3("},
        {col3a{}, "col3a("},
        {txc1{}, "txc1("},
        {txc2{}, "txc2("},
        {txc2q{}, "txc2q("},
        {txc3{}, "txc3("},
        {txc3q{}, "txc3q("},
        {mtx3w::identity(), identity_text},
        {mathvalue{}, ""},
        {mathvalue{}, ""},
        {mathvalue{}, ""},
        {mathvalue{}, ""},
        {col3aub{'a', 'b', 'c', 'd'}, "col3aub(0a0b0c0d)"},
        {col3ub{}, "col3ub("},
        {col1aub{}, "col1aub("},
        {col1ub{'A'}, "col1ub(0A)"},
        {mathvalue{}, ""},
        {mathvalue{}, ""},
        {mathvalue{}, ""},
        {projection{0, 1, 2, 3, 4, 5.5},
         "projection(0.000000, 1.000000, 2.000000, 3.000000, 4.000000, 5.500000)"},
        {mathvalue{}, ""},
    };
    for (std::uint32_t tag = 0; tag < std::size(cases); ++tag) {
        auto [value, expected] = cases[tag];
        if (expected.empty())
            value.tag = tag;
        else
            EXPECT_EQ(value.tag, tag) << expected;
        const std::string is = text(value);
        EXPECT_EQ(expected.ends_with('(') ? is.substr(0, expected.size()) : is, expected) << tag;
    }
    mathvalue beyond{};
    beyond.tag = 0xFFFFFFFF;
    EXPECT_EQ(text(beyond), "");
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
