// The steps from a shape to a key that plays are followed as they are written.

#include "player_under_test.h"
#include "pmt3d/format/dispatch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <sstream>

using namespace test_support;

namespace {

TEST(own_keyboard, the_steps_end_with_a_note) {
    const std::filesystem::path docs = QUENVAREL_TEST_DATA "/../../docs";
    const temporary_directory directory;
    std::filesystem::copy_file(docs / "examples/key.gltf", directory.path() / "key.gltf");
    virtual_display display;
    process_options here{.environment = {{"DISPLAY", display.name()}}, .directory = directory.path()};
    here.environment["PATH"] =
        QUENVAREL_BIN ":" QUENVAREL_BIN "/../models:" + std::string(std::getenv("PATH"));

    std::vector<std::string> commands;
    std::istringstream text(read_file(docs / "own-keyboard.md"));
    for (std::string line; std::getline(text, line);)
        if (const std::size_t at = line.find_first_not_of(' '); at != line.npos && at >= 7)
            commands.push_back(line.substr(at));
    ASSERT_EQ(commands.size(), 8u);
    std::string start = commands.back();
    commands.pop_back();
    for (const std::string& command : commands) {
        const process_result r = run({"sh", "-c", command}, here);
        EXPECT_EQ(r.exit_code, 0) << command << '\n' << r.out;
        EXPECT_EQ(r.err, "") << command;
    }

    // The key is in its room: one white key wide, as long as the others.
    pmt3d::model_t key;
    ASSERT_TRUE(pmt3d::load(key, directory.file("mine.pmt/60.pmt"), {std::cerr}));
    ASSERT_EQ(key.items.size(), 1u);
    const auto box = key.items.front().polygon.bounds();
    ASSERT_TRUE(box);
    EXPECT_NEAR(box->max.x - box->min.x, 0.935, 0.02);
    EXPECT_EQ(box->max.y, 0);
    EXPECT_NEAR(box->max.z, 9.4, 0.01);
    EXPECT_TRUE(std::filesystem::exists(directory.path() / "mine.pmt" / key.items.front().texture.specular));
    EXPECT_TRUE(std::filesystem::exists(directory.path() / "60.png"));

    // Here are no loudspeakers.
    const std::size_t device = start.find("FluidSynth");
    ASSERT_NE(device, start.npos) << start;
    start.replace(device, start.npos, "'MIDI file'");
    process program({"sh", "-c", "exec " + start}, here);
    EXPECT_EQ(play_a_note(display, program), 0) << program.out() << program.err();
    EXPECT_EQ(program.out().find("LoadShape"), std::string::npos) << program.out();
}

} // namespace
