// Faults around the finished programs: the memory ends while the player starts, a save is killed, and keys
// are wrong.

#include "player_under_test.h"
#include "support/process.h"
#include "support/temporary_directory.h"
#include "virtual_display.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

using namespace test_support;
using std::chrono::milliseconds;

namespace {

// The player with one of its allocations failing, until it has greeted the module or ended.
struct start {
    static constexpr const char* marker = "spkey: 0xb\n"; // the trace of F11

    virtual_display& display;
    temporary_directory directory;
    process program;
    start(virtual_display& shown_on, const std::string& allocation)
        : display(shown_on),
          program({QUENVAREL_BIN "/quenvarel", "MIDI file"},
                  {{{"DISPLAY", display.name()},
                    {"LD_PRELOAD", QUENVAREL_FAILING_NEW},
                    {"QUENVAREL_ALLOCATIONS", directory.file("places")},
                    {"QUENVAREL_ALLOCATION_TO_FAIL", allocation}},
                   directory.path()}) {}

    bool has_greeted() const {
        return read_file(directory.path() / "quenvarel.mid").find("Quenvarel-MIDI Ver 2") !=
               std::string::npos;
    }
    // The exit code; a player that has greeted and come to rest is told to end.
    int end() {
        for (int tries = 0; tries < 2400 && !has_greeted(); ++tries)
            if (const auto code = program.wait(milliseconds(50))) return *code;
        // A key is handled before the first picture is drawn or after it, the next one after it.
        for (int keys = 0; keys < 2; ++keys) {
            const virtual_display::window window = display.find_window(window_title, milliseconds(0));
            if (window == 0 || !display.focus(window)) break;
            display.drive("key F11");
            if (!program.wait_for_err(marker)) break;
        }
        program.send_signal(SIGTERM);
        return program.wait().value_or(-1);
    }
    std::string err() {
        std::string text = program.err();
        for (std::size_t at; (at = text.find(marker)) != std::string::npos;)
            text.erase(at, std::strlen(marker));
        return text;
    }
};

TEST(faults, memory_that_ends_while_the_player_starts_is_one_line_and_an_orderly_end) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer has the allocations";
#endif
    virtual_display display;
    start whole(display, "4294967295");
    ASSERT_EQ(whole.end(), 0) << whole.program.err();
    ASSERT_TRUE(whole.has_greeted());
    std::istringstream places(read_file(whole.directory.path() / "places"));
    int tries = 0, without_port = 0, too_late = 0; // the last ones are made at the end or not at all
    for (std::string number; std::getline(places, number); ++tries) {
        SCOPED_TRACE("allocation " + number);
        start failing(display, number);
        const int code = failing.end();
        const std::string err = failing.err();
        too_late += code == 0;
        EXPECT_EQ(code, err.empty() ? 0 : 1);
        const bool no_port = err == "midi_out_t allocate failed.\n";
        without_port += no_port;
        EXPECT_EQ(err, code == 0 ? "" : no_port ? err : "out of memory.\n");
    }
    std::printf("%d starts, each with another allocation failing; %d were over before\n", tries, too_late);
    EXPECT_GT(tries, 100);
    EXPECT_EQ(without_port, 1);
    EXPECT_LT(too_late, tries / 10);
}

// A model large enough for the save to be killed in its midst.
TEST(faults, a_save_that_is_killed_leaves_the_old_file) {
    const temporary_directory directory;
    std::string surface = "begin nurbs_surface,2,2,2,2\nresolution 900,900\n";
    for (const char* row : {"0,0,0\nposition 1,0,0", "0,1,0\nposition 1,1,1"})
        surface +=
            std::string("knot1 0\nknot1 0\nknot1 1\nknot1 1\nweight 1\nweight 1\nposition ") + row + "\n";
    for (int column = 0; column < 2; ++column)
        surface += "knot2 0\nknot2 0\nknot2 1\nknot2 1\n";
    const std::string model = directory.write("m.pmt", surface + "end\n");
    const std::string copy = directory.write("copy.stl", "old");
    int killed = 0;
    for (int delay = 0; delay < 400 && killed < 3; ++delay) {
        process tool({QUENVAREL_BIN "/pmt3d", "convert", model, copy});
        // As soon as the new file has begun to grow.
        std::error_code none;
        while (!std::filesystem::exists(copy + ".saving0", none) && !tool.wait(milliseconds(1))) {
        }
        std::this_thread::sleep_for(milliseconds(delay % 5));
        tool.send_signal(SIGKILL);
        const int code = tool.wait().value_or(-1);
        const bool was_killed = code == 128 + SIGKILL;
        if (was_killed && std::filesystem::exists(copy + ".saving0")) {
            ++killed;
            EXPECT_EQ(read_file(copy), "old");
        }
        std::filesystem::remove(copy + ".saving0");
        directory.write("copy.stl", "old");
    }
    EXPECT_EQ(killed, 3) << "no save could be killed in its midst";
}

// A key whose million triangles all lie in one place, 5 units in front of the hinge.
std::string million_triangles() {
    std::string text = "begin polygon_surface,4,1000002\n";
    for (const char* corner : {"0,0,5", "1,0,5", "0,0,6", "1,0,6"})
        text += std::string("position ") + corner + "\ntangent 1,0,0\nbinormal 0,0,-1\nnormal 0,1,0\n";
    for (int i = 0; i < 1000002; ++i)
        text += "element " + std::to_string(i % 4) + '\n';
    return text + "end\n";
}

TEST(faults, wrong_keys_cost_no_others_and_no_note) {
    namespace fs = std::filesystem;
    const fs::path whole = QUENVAREL_BIN "/quenvarel.pmt";
    const std::string key = read_file(whole / "60.pmt");
    const struct {
        const char* what;
        std::function<void(const fs::path& keys)> spoil; // what has all keys
        int missing;
        const char* err;
    } cases[] = {
        {"no directory", [](const fs::path& keys) { fs::remove_all(keys); }, 128,
         "/127.pmt: file open error.\n"},
        {"one key only",
         [&](const fs::path& keys) {
             fs::remove_all(keys);
             fs::create_directory(keys);
             std::ofstream(keys / "60.pmt") << key;
         },
         127, "ivory-color.jpg: color autoloadformat failed.\n"},
        {"a broken key file",
         [&](const fs::path& keys) { std::ofstream(keys / "60.pmt") << key.substr(0, key.size() / 2); }, 1,
         ""},
        {"a million triangles",
         [](const fs::path& keys) { std::ofstream(keys / "60.pmt") << million_triangles(); }, 0, ""},
        {"no picture", [](const fs::path& keys) { fs::remove(keys / "black-color.png"); }, 0,
         "/black-color.png: color autoloadformat failed.\n"},
    };
    virtual_display display;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const temporary_directory directory;
        const fs::path program = directory.path() / "quenvarel";
        fs::copy_file(QUENVAREL_BIN "/quenvarel", program);
        fs::copy(whole, directory.path() / "quenvarel.pmt");
        c.spoil(directory.path() / "quenvarel.pmt");
        process player({program, "MIDI file"}, {{{"DISPLAY", display.name()}}, directory.path()});
        EXPECT_EQ(play_a_note(display, player), 0) << player.err();
        const std::string notes = run({"midicsv", directory.file("quenvarel.mid")}).out;
        EXPECT_NE(notes.find("Note_on_c, 1, 60, 127"), std::string::npos) << notes;
        int missing = 0;
        std::istringstream lines(player.out());
        for (std::string line; std::getline(lines, line);)
            missing += line.ends_with(".pmt: LoadShape() error.");
        EXPECT_EQ(missing, c.missing);
        EXPECT_NE(player.err().find(c.err), std::string::npos) << player.err();
    }
}

} // namespace
