#include "app/keyboard_scene.h"
#include "support/capture.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

using namespace quenvarel;
using test_support::capture;

namespace {

// A square in the x-y plane at the given z, in front of an eye at the origin that looks down -z.
std::string block(const std::string& z, const std::string& more = {}) {
    std::string text = "begin polygon_surface,4,4\r\n" + more;
    for (const std::string xy : {"-1,-1,", "1,-1,", "-1,1,", "1,1,"})
        text += "position " + xy + z + "\r\n";
    for (const std::string i : {"0", "1", "2", "3"})
        text += "element " + i + "\r\ntangent 1,0,0\r\nbinormal 0,1,0\r\nnormal 0,0,1\r\n";
    return text + "end\r\n";
}

struct keyboard_files : testing::Test {
    const test_support::temporary_directory directory;
    keyboard_scene scene;
    capture out{std::cout}, err{std::cerr};

    // As the keyboard names it on every system.
    std::string file(int key) { return directory.path().string() + '/' + std::to_string(key) + ".pmt"; }
    std::optional<int> pick(int x, int y) {
        std::optional<int> found;
        const viewport square{{{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, -1, 0, 0, -0.1f, 0}}, 100, 100};
        const bool any = scene.pick(x, y, square, [&](int key) { found = key; });
        EXPECT_EQ(any, found.has_value());
        return found;
    }
};

TEST_F(keyboard_files, one_file_is_one_key_and_the_others_are_reported) {
    directory.write("60.pmt", block("-5"));
    std::string expected, expected_err;
    for (int key = 0; key < 128; ++key) {
        if (key == 60) continue;
        expected += file(key) + ": LoadShape() error.\n";
        expected_err += file(key) + ": file open error.\n";
    }
    for (const char* end : {"", "/"}) {
        EXPECT_TRUE(scene.load(directory.path().string() + end));
        EXPECT_EQ(out.take(), expected);
        EXPECT_EQ(err.take(), expected_err);
        EXPECT_EQ(scene.surface(60).vertex_count(), 4u);
        EXPECT_EQ(scene.surface(59).vertex_count(), 0u);
        EXPECT_EQ(pick(50, 50), 60);
        EXPECT_EQ(pick(5, 5), std::nullopt);
        scene.clear();
    }
    // Without a directory there are no keys; somebody wants to leave before the fourth one.
    int asked = 0;
    EXPECT_TRUE(scene.load("", [&] { return ++asked > 3; }));
    EXPECT_EQ(out.take(),
              "0.pmt: LoadShape() error.\n1.pmt: LoadShape() error.\n2.pmt: LoadShape() error.\n");
    EXPECT_EQ(pick(50, 50), std::nullopt);
}

TEST_F(keyboard_files, a_wrong_file_costs_one_key) {
    const struct {
        const char* what;
        std::string text;
        bool loads;
        std::string err = "";
    } cases[] = {
        {"only comments", "# nothing\r\n\r\n\n# here\n", false},
        {"a block cut off", block("-5").substr(0, 60), false},
        {"too few frames", "begin polygon_surface,1,0\nposition 0,0,0\nend\n", false, "too few tangent."},
        {"other lines", "color 1\r\n" + block("-5") + "end\n", true,
         std::string("unknown line: color 1") + test_support::repeated_line_end + "unknown line: end\n"},
        {"two blocks, the second wrong", block("-5") + "begin polygon_surface\n", false},
        {"two blocks", block("-3") + block("-5"), true},
        {"no texture", block("-5", "texture missing.png\r\n"), true, "color autoloadformat failed."},
    };
    for (const char* name : {"8.pmt", "9.pmt"}) // equally near: the lower one is picked
        directory.write(name, block("-6"));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        directory.write("7.pmt", c.text);
        scene.clear();
        EXPECT_TRUE(scene.load(directory.path().string()));
        EXPECT_EQ(out.take().find(file(7)) == std::string::npos, c.loads);
        EXPECT_NE(err.text().find(c.err), std::string::npos) << err.text();
        err.take();
        EXPECT_EQ(scene.surface(7).vertex_count(), c.loads ? 4u : 0u);
        EXPECT_EQ(pick(50, 50), c.loads ? 7 : 8); // the nearer one
        EXPECT_EQ(scene.surface(8).vertex_count(), 4u);
    }
}

} // namespace
