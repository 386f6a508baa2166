// Every call to the system that the programs make fails once, in turn: the player starts, plays and ends, and
// models and pictures are saved. Whatever fails, there is no crash, no endless wait and no lost file, and who
// ends early has said why.
//
// QUENVAREL_CALLS=all in the environment tries every place that calls; otherwise some of each scene.

#include "player_under_test.h"
#include "support/process.h"
#include "support/temporary_directory.h"
#include "virtual_display.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <set>
#include <sstream>

using namespace test_support;
using std::chrono::milliseconds;

namespace {

// One run of a scene, in a directory that is its own.
struct outcome {
    int code;
    std::string err, places;
};

using scene = std::function<outcome(const temporary_directory& directory, const std::string& place)>;

process_options with_failing(const temporary_directory& directory, const std::string& place,
                             const std::string& display) {
    return {{{"DISPLAY", display},
             {"LD_PRELOAD", QUENVAREL_FAILING_CALLS},
             {"QUENVAREL_PLACES", directory.file("places")},
             {"QUENVAREL_PLACE_TO_FAIL", place}},
            directory.path()};
}

// The first run tells the places, each further one lets one of them fail.
void sweep(const scene& play, std::size_t sample) {
    const char* const wanted = std::getenv("QUENVAREL_CALLS");
    std::vector<std::string> places;
    {
        const temporary_directory directory;
        const outcome whole = play(directory, "0");
        ASSERT_EQ(whole.code, 0) << whole.err;
        std::istringstream lines(whole.places);
        for (std::string line; std::getline(lines, line);)
            places.push_back(line);
    }
    ASSERT_GT(places.size(), 5u);
    const std::size_t step = wanted ? 1 : places.size() / sample + 1;
    std::size_t failed = 0, tried = 0, refused = 0;
    std::set<std::string> functions; // one place of each, and every thread that is begun
    for (std::size_t at = 0; at < places.size(); ++at) {
        const std::string function = places[at].substr(places[at].find(' ') + 1);
        const bool is_first = functions.insert(function).second;
        if (at % step != 0 && !is_first && function != "pthread_create") continue;
        ++tried;
        SCOPED_TRACE(places[at]);
        const temporary_directory directory;
        const outcome one = play(directory, places[at].substr(0, places[at].find(' ')));
        const bool happened = one.places.find(" failed\n") != std::string::npos;
        failed += happened;
        refused += one.code != 0;
        EXPECT_GE(one.code, 0) << "it had to be killed";
        EXPECT_LE(one.code, 2) << one.err;
        EXPECT_TRUE(one.code == 0 || !one.err.empty()) << "no word";
        if (wanted) std::printf("%s: %d %s\n", places[at].c_str(), one.code, one.err.substr(0, 300).c_str());
    }
    std::printf("%zu places, %zu tried, %zu failed, %zu of them with an early end\n", places.size(), tried,
                failed, refused);
    EXPECT_GE(failed * 10, tried * 8) << "the places are those of the first run";
}

bool is_whole_recording(const std::string& name) {
    return run({"midicsv", name, "/dev/null"}).exit_code == 0;
}

TEST(failing_calls, a_player_ends_as_it_should_and_keeps_its_files) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer makes calls of its own";
#endif
    virtual_display display;
    sweep(
        [&](const temporary_directory& directory, const std::string& place) {
            directory.write("quenvarel.mid", "old");
            process player({QUENVAREL_BIN "/quenvarel", "MIDI file"},
                           with_failing(directory, place, display.name()));
            const auto begin = std::chrono::steady_clock::now();
            std::optional<int> code;
            virtual_display::window window = 0;
            while (!(code = player.wait(milliseconds(20))) && window == 0 &&
                   std::chrono::steady_clock::now() - begin < generous)
                window = display.find_window(window_title, milliseconds(0));
            if (!code && display.focus(window)) {
                display.drive("key c");
                player.wait_for_err("note: 48\n", milliseconds(10000));
                display.drive("key Escape");
                code = player.wait(milliseconds(10000));
            }
            if (!code) {
                player.send_signal(SIGTERM);
                code = player.wait(milliseconds(20000));
            }
            EXPECT_EQ(read_file(directory.path() / "quenvarel.mid"), "old");
            for (const auto& file : std::filesystem::directory_iterator(directory.path()))
                if (file.path().extension() == ".mid" && file.path().filename() != "quenvarel.mid") {
                    EXPECT_TRUE(is_whole_recording(file.path())) << file.path();
                }
            return outcome{code.value_or(-1), player.err(), read_file(directory.path() / "places")};
        },
        8);
}

TEST(failing_calls, a_save_leaves_the_old_file_or_the_new_one) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer makes calls of its own";
#endif
    const std::string key = QUENVAREL_BIN "/quenvarel.pmt/60.pmt";
    const std::vector<std::vector<std::string>> commands = {
        {"convert", key, "out.stl"},
        {"convert", key, "out.pmt"},
        {"image", "convert", QUENVAREL_BIN "/quenvarel.pmt/ivory-color.jpg", "out.jpg"},
        {"image", "convert", QUENVAREL_TEST_DATA "/vase.png", "out.png"},
    };
    for (const std::vector<std::string>& command : commands) {
        SCOPED_TRACE(command.back());
        std::string saved;
        sweep(
            [&](const temporary_directory& directory, const std::string& place) {
                directory.write(command.back(), "old");
                std::vector<std::string> words = command;
                words.insert(words.begin(), QUENVAREL_BIN "/pmt3d");
                process_options options = with_failing(directory, place, "");
                const process_result ended = run(words, options);
                const std::string now = read_file(directory.path() / command.back());
                if (saved.empty()) saved = now;
                EXPECT_TRUE(now == saved || (now == "old" && ended.exit_code != 0)) << ended.err;
                std::set<std::string> files;
                for (const auto& file : std::filesystem::directory_iterator(directory.path()))
                    files.insert(file.path().filename());
                EXPECT_EQ(files, (std::set<std::string>{command.back(), "places"}));
                return outcome{ended.exit_code, ended.err, read_file(directory.path() / "places")};
            },
            6);
    }
}

} // namespace
