// The script behind ./run demo, with a piece of three seconds.

#include "support/picture.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

using namespace test_support;

TEST(demo, leaves_a_picture_a_sound_and_a_midi_file) {
    const temporary_directory directory;
    const std::string piece =
        directory.write("piece", "# a comment\n0 2 c m q e\n\n0.5 1 Home\n1 picture\n2.5 0.5 i\n");
    const std::string results = directory.file("results");
    // Twice: what is there is replaced.
    for (int round = 0; round < 2; ++round) {
        const process_result played =
            run({"env", "-u", "DISPLAY", QUENVAREL_DEMO_SCRIPT, QUENVAREL_BIN "/quenvarel", piece, results},
                {}, 5 * generous);
        EXPECT_EQ(played.exit_code, 0) << played.err;
        EXPECT_EQ(played.out + played.err, "");
    }
    const picture image = load_png(results + "/keyboard.png");
    EXPECT_EQ(image.width, 800);
    EXPECT_EQ(image.height, 200);
    const std::string midi = run({"midicsv", results + "/quenvarel.mid"}).out;
    for (const char* event :
         {"Note_on_c, 1, 48, 100\n", "Note_on_c, 1, 55, 0\n", "Program_c, 1, 1\n", "Note_on_c, 1, 72, 100\n"})
        EXPECT_NE(midi.find(event), std::string::npos) << midi;
    const std::string wav = read_file(results + "/quenvarel.wav");
    EXPECT_EQ(wav.substr(0, 4), "RIFF");
    EXPECT_GT(std::count_if(wav.begin(), wav.end(), [](char c) { return c != 0; }), 100000);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(results), {}), 3);
}

// Files of more than 300 KiB cannot be written, as on a full disk.
TEST(demo, fails_when_a_recording_cannot_go_on) {
    const temporary_directory directory;
    const process_result played =
        run({"bash", "-c", "trap '' XFSZ; ulimit -f 300; exec env -u DISPLAY \"$@\"", "bash",
             QUENVAREL_DEMO_SCRIPT, QUENVAREL_BIN "/quenvarel",
             directory.write("piece", "0 2 c\n2.5 0.5 i\n"), directory.file("results")},
            {}, 5 * generous);
    EXPECT_EQ(played.exit_code, 1);
    EXPECT_EQ(played.err, "quenvarel.wav: the recording cannot go on and ends here.\n");
}
