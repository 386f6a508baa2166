// The packages as users get them: unpacked, and started from where they were put.

#include "player_under_test.h"
#include "support/process.h"
#include "support/temporary_directory.h"
#include "virtual_display.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

using namespace test_support;
namespace fs = std::filesystem;

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// The one file of the directory in which the package was made.
fs::path package() {
    fs::path found;
    for (const fs::directory_entry& entry : fs::directory_iterator(variable("QUENVAREL_PACKAGES")))
        if (entry.is_regular_file()) found = entry.path();
    return found;
}

class debian_package : public testing::Test {
protected:
    void SetUp() override {
        const process_result unpacked = run({"dpkg-deb", "-x", package(), root()});
        ASSERT_EQ(unpacked.exit_code, 0) << unpacked.err;
    }
    std::string root() const { return directory_.file("root of 鍵盤 żółć"); }
    // As where it is installed.
    process_options options() const {
        return {.environment = {{"PATH", root() + "/usr/bin:" + variable("PATH")}},
                .directory = directory_.path()};
    }

    temporary_directory directory_;
};

TEST_F(debian_package, is_complete) {
    EXPECT_EQ(package().filename(), "quenvarel_2.2.0_amd64.deb");
    // What it depends on is a package, and this machine has them all.
    const process_result installing = run({"dpkg", "--no-act", "--force-not-root", "-i", package()});
    EXPECT_EQ(installing.exit_code, 0) << installing.out << installing.err;
    for (const std::string program : {"quenvarel", "midimon", "pmt3d"}) {
        const process_result page = run({"gzip", "-dc", root() + "/usr/share/man/man1/" + program + ".1.gz"});
        EXPECT_NE(page.out.find("\n" + program + " \\- "), std::string::npos) << program << page.err;
    }
    int keys = 0;
    for (int note = 0; note < 128; ++note)
        keys += fs::exists(root() + "/usr/share/quenvarel/quenvarel.pmt/" + std::to_string(note) + ".pmt");
    EXPECT_EQ(keys, 128);
}

TEST_F(debian_package, desktop_entry_starts_the_program) {
    const std::string entry = root() + "/usr/share/applications/quenvarel.desktop";
    const process_result checked = run({"desktop-file-validate", entry});
    EXPECT_EQ(checked.exit_code, 0) << checked.out;
    EXPECT_NE(read_file(entry).find("\nExec=quenvarel FluidSynth\n"), std::string::npos);
    EXPECT_NE(read_file(entry).find("\nIcon=quenvarel\n"), std::string::npos);
    EXPECT_TRUE(fs::exists(root() + "/usr/share/icons/hicolor/scalable/apps/quenvarel.svg"));
    EXPECT_NE(run({"quenvarel"}, options()).out.find(": FluidSynth\n"), std::string::npos);
}

TEST_F(debian_package, plays_from_its_installed_place) {
    virtual_display display;
    process_options where = options();
    where.environment["DISPLAY"] = display.name();
    process program({"quenvarel", "MIDI file"}, where);
    EXPECT_EQ(play_a_note(display, program), 0) << program.out() << program.err();
    // All keys were found and loaded, or there would be a line about each.
    EXPECT_EQ(program.out().find("LoadShape"), std::string::npos) << program.out();
    EXPECT_NE(run({"midicsv", directory_.file("quenvarel.mid")}).out.find("Note_on_c, 1, 60, 127"),
              std::string::npos);
}

class windows_package : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(package().filename(), "quenvarel-2.2.0-windows-x86_64.zip");
        const fs::path target = directory_.path() / "My Music (x86) 鍵盤 żółć";
        fs::create_directory(target);
        const process_result unpacked =
            run({"cmake", "-E", "tar", "xf", package()}, {.environment = {}, .directory = target});
        ASSERT_EQ(unpacked.exit_code, 0) << unpacked.err;
        place_ = target / package().stem();
        fs::copy(fs::path(variable("QUENVAREL_UNDER_TEST")).parent_path() / "winmm.dll", place_);
    }
    // Starts play.cmd as a double click does.
    process play_cmd(const std::string& display, const std::string& devices) const {
        return process({variable("QUENVAREL_WINE"), place_ / "play.cmd"},
                       {.environment = {{"DISPLAY", display},
                                        {"WINEDLLOVERRIDES", "winmm=n;mscoree=;mshtml="},
                                        {"QUENVAREL_WINMM_LOG", directory_.file("log")},
                                        {"QUENVAREL_WINMM_OUTPUTS", devices}},
                        .directory = directory_.path()});
    }

    temporary_directory directory_;
    fs::path place_;
};

TEST_F(windows_package, double_click_plays_on_the_first_device) {
    virtual_display display;
    process program = play_cmd(display.name(), "GS Synth;USB");
    EXPECT_EQ(play_a_note(display, program), 0) << program.out() << program.err();
    EXPECT_NE(program.out().find("select write device: 0: GS Synth"), std::string::npos) << program.out();
    EXPECT_EQ(program.out().find("LoadShape"), std::string::npos) << program.out();
    EXPECT_NE(read_file(directory_.file("log")).find("midiOutShortMsg 91 3c 7f 00 -> 0"), std::string::npos);
}

// GLUT gives its windows the icon of this name.
TEST_F(windows_package, holds_its_icon_and_knows_every_monitor) {
    const std::string program = read_file(place_ / "quenvarel.exe");
    EXPECT_NE(program.find(std::string("G\0L\0U\0T\0_\0I\0C\0O\0N\0", 18)), std::string::npos);
    EXPECT_NE(program.find(">PerMonitorV2, PerMonitor<"), std::string::npos);
}

TEST_F(windows_package, double_click_without_a_device_says_so) {
    process program = play_cmd("", "");
    EXPECT_EQ(program.wait(), 1);
    EXPECT_NE(program.out().find("output devices:"), std::string::npos) << program.out();
    EXPECT_NE(program.out().find("could not be opened"), std::string::npos) << program.out();
}

} // namespace
