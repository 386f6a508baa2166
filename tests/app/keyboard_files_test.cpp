#include "app/keyboard_scene.h"
#include "support/capture.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <iostream>

using namespace quenvarel;
using test_support::capture;
using test_support::temporary_directory;

namespace {

// One triangle strip of three or more corners in the x-y plane at the given z, in front of an eye at the
// origin that looks down -z.
std::string block(const std::string& z, const std::string& texture = {}) {
    std::string text = "begin polygon_surface,4,4\r\n";
    if (!texture.empty()) text += "texture " + texture + "\r\n";
    for (const char* xy : {"-1,-1,", "1,-1,", "-1,1,", "1,1,"})
        text += std::string("position ") + xy + z + "\r\n";
    for (const char* i : {"0", "1", "2", "3"})
        text += std::string("element ") + i + "\r\ntangent 1,0,0\r\nbinormal 0,1,0\r\nnormal 0,0,1\r\n";
    return text + "end\r\n";
}

// As the keyboard names it on every system.
std::string key_file(const temporary_directory& directory, int key) {
    return directory.path().string() + '/' + std::to_string(key) + ".pmt";
}

std::string error_line(const temporary_directory& directory, int key) {
    return key_file(directory, key) + ": LoadShape() error.\n";
}

const viewport square_view{{{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, -1, 0, 0, -0.1f, 0}}, 100, 100};

std::optional<int> pick(const keyboard_scene& scene, int x, int y) {
    std::optional<int> found;
    const bool any = scene.pick(x, y, square_view, [&](int key) { found = key; });
    EXPECT_EQ(any, found.has_value());
    return found;
}

} // namespace

TEST(KeyboardFiles, OneFileIsOneKeyAndTheOthersAreReported) {
    const temporary_directory directory;
    directory.write("60.pmt", block("-5"));
    std::string expected, expected_err;
    for (int key = 0; key < 128; ++key) {
        if (key == 60) continue;
        expected += error_line(directory, key);
        expected_err += key_file(directory, key) + ": file open error.\n";
    }
    capture out(std::cout), err(std::cerr);
    for (const std::string& name : {directory.path().string(), directory.path().string() + "/"}) {
        keyboard_scene scene;
        EXPECT_TRUE(scene.load(name));
        EXPECT_EQ(out.take(), expected);
        EXPECT_EQ(err.take(), expected_err);
        EXPECT_EQ(scene.surface(60).vertex_count(), 4u);
        EXPECT_EQ(scene.surface(59).vertex_count(), 0u);
        EXPECT_EQ(pick(scene, 50, 50), 60);
        EXPECT_EQ(pick(scene, 5, 5), std::nullopt);
    }
    // Without a directory there are no keys, and nothing else happens; somebody wants to leave before the
    // fourth key.
    keyboard_scene scene;
    int asked = 0;
    EXPECT_TRUE(scene.load("", [&] { return ++asked > 3; }));
    const std::string lines = out.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3);
    EXPECT_EQ(pick(scene, 50, 50), std::nullopt);
}

TEST(KeyboardFiles, AWrongFileCostsOneKey) {
    const struct {
        const char* what;
        std::string text;
        bool loads;
        std::string err; // with %s for the directory and the file's name
    } cases[] = {
        {"only comments", "# nothing\r\n\r\n\n# here\n", false, ""},
        {"a block cut off", block("-5").substr(0, 60), false, ""},
        {"too few frames", "begin polygon_surface,1,0\nposition 0,0,0\nend\n", false,
         "tangent(0) < 1: too few tangent."},
        {"other lines", "color 1\r\n" + block("-5") + "end\n", true,
         "unknown line: color 1\r\nunknown line: end\n"},
        {"two blocks, the second wrong", block("-5") + "begin polygon_surface\n", false, ""},
        {"two blocks", block("-3") + block("-5"), true, ""},
        {"no texture", block("-5", "missing.png"), true, "missing.png: color autoloadformat failed."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const temporary_directory directory;
        directory.write("7.pmt", c.text);
        for (const char* name : {"8.pmt", "9.pmt"}) // equally near: the lower one is picked
            directory.write(name, block("-6"));
        capture out(std::cout), err(std::cerr);
        keyboard_scene scene;
        EXPECT_TRUE(scene.load(directory.path().string()));
        EXPECT_EQ(out.text().find(error_line(directory, 7)) == std::string::npos, c.loads);
        EXPECT_NE(err.text().find(c.err), std::string::npos) << err.text();
        EXPECT_EQ(scene.surface(7).vertex_count(), c.loads ? 4u : 0u);
        EXPECT_EQ(pick(scene, 50, 50), c.loads ? 7 : 8); // the nearer one
        EXPECT_EQ(scene.surface(8).vertex_count(), 4u);
    }
}
