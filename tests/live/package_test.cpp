// The packages as users get them: unpacked, and started from where they were put.

#include "player_under_test.h"
#include "support/process.h"
#include "support/temporary_directory.h"
#include "virtual_display.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

using namespace test_support;
namespace fs = std::filesystem;

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// The package whose file's name matches, of those that were made.
fs::path package(const std::string& name) {
    fs::path found;
    for (const fs::directory_entry& entry : fs::directory_iterator(variable("QUENVAREL_PACKAGES")))
        if (std::regex_match(entry.path().filename().string(), std::regex(name))) found = entry.path();
    return found;
}

class debian_package : public testing::Test {
protected:
    void SetUp() override {
        for (const std::string& file : {player_, tools_}) {
            const process_result unpacked = run({"dpkg-deb", "-x", file, root()});
            ASSERT_EQ(unpacked.exit_code, 0) << unpacked.err;
        }
    }
    std::string root() const { return directory_.file("root of 鍵盤 żółć"); }
    std::string documents() const { return root() + "/usr/share/doc/"; }
    // As where it is installed.
    process_options options() const {
        return {.environment = {{"PATH", root() + "/usr/bin:" + variable("PATH")}},
                .directory = directory_.path()};
    }

    const std::string player_ = package("quenvarel_2\\.2\\.0\\+[a-z]+[0-9.]*_[a-z0-9]+\\.deb");
    const std::string tools_ = package("quenvarel-tools_2\\.2\\.0\\+[a-z]+[0-9.]*_[a-z0-9]+\\.deb");
    temporary_directory directory_;
};

TEST_F(debian_package, passes_the_checks_of_distributions) {
    // What they depend on are packages, and this machine has them all.
    const process_result installing =
        run({"dpkg", "--no-act", "--force-not-root", "-i", player_, tools_},
            {.environment = {{"PATH", "/usr/sbin:/sbin:" + variable("PATH")}}, .directory = {}});
    EXPECT_EQ(installing.exit_code, 0) << installing.out << installing.err;
    const process_result looked = run({"lintian", "--fail-on", "error,warning", player_, tools_});
    EXPECT_EQ(looked.exit_code, 0) << looked.out << looked.err;
    const process_result shown =
        run({"appstreamcli", "validate", "--no-net", "--no-color",
             root() + "/usr/share/metainfo/quenvarel.quenvarel.quenvarel.metainfo.xml"});
    EXPECT_EQ(shown.exit_code, 0) << shown.out << shown.err;
    // The newest entry is of this package, and there are older ones or items in it.
    const process_result entry =
        run({"dpkg-parsechangelog", "-l", documents() + "quenvarel-tools/changelog.gz", "-S", "Version"});
    EXPECT_EQ(entry.out, run({"dpkg-deb", "-f", tools_, "Version"}).out) << entry.err;
}

TEST_F(debian_package, tools_make_the_keys_that_the_player_has) {
    const process_result made = run({"make_keys", "piano", "keys"}, options());
    EXPECT_EQ(made.exit_code, 0) << made.err;
    const process_result compared =
        run({"diff", "-r", directory_.file("keys"), root() + "/usr/share/quenvarel/quenvarel.pmt"});
    EXPECT_EQ(compared.exit_code, 0) << compared.out << compared.err;
    const process_result checked = run({"pmt3d", "check", directory_.file("keys/127.pmt"),
                                        documents() + "quenvarel-tools/examples/evening.pmt"},
                                       options());
    EXPECT_EQ(checked.exit_code, 0) << checked.out << checked.err;
}

// Each action plays on a device of the list.
TEST_F(debian_package, desktop_entry_starts_the_program) {
    const std::string entry = root() + "/usr/share/applications/quenvarel.desktop";
    const process_result checked = run({"desktop-file-validate", entry});
    EXPECT_EQ(checked.exit_code, 0) << checked.out;
    EXPECT_TRUE(fs::exists(root() + "/usr/share/icons/hicolor/scalable/apps/quenvarel.svg"));
    const std::string listed = run({"quenvarel"}, options()).out, text = read_file(entry);
    const std::regex exec("\nExec=quenvarel (\"?)([^\"\n]+)\\1(?=\n|$)");
    std::set<std::string> devices;
    for (std::sregex_iterator found(text.begin(), text.end(), exec), end; found != end; ++found)
        devices.insert((*found)[2]);
    EXPECT_EQ(devices.size(), 4u);
    devices.erase("Virtual port"); // not without JACK or ALSA
    for (const std::string& device : devices)
        EXPECT_NE(listed.find(": " + device + "\n"), std::string::npos) << device;
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

// The checkout has moved, or its build directory comes from another one.
TEST(build_directory, of_another_place_is_made_afresh) {
    const temporary_directory directory;
    const fs::path old_place = directory.file("old"), place = directory.file("new place");
    fs::create_directory(old_place);
    fs::copy(fs::path(QUENVAREL_PACKAGING) / "../CMakePresets.json", old_place);
    std::ofstream(old_place / "CMakeLists.txt")
        << "cmake_minimum_required(VERSION 3.25)\nproject(empty NONE)\n";
    const auto configure = [](const fs::path& where) {
        return run(
            {"bash", "-ec",
             ". \"$0/build.sh\"; is_configured_here release || configure release; is_configured_here release",
             QUENVAREL_PACKAGING},
            {.environment = {}, .directory = where});
    };
    const std::string line = "build/release was made in " + old_place.string() + "; it is made afresh.\n";
    for (const bool moved : {false, true, false}) {
        if (moved) fs::rename(old_place, place);
        const process_result configured = configure(fs::exists(place) ? place : old_place);
        EXPECT_EQ(configured.exit_code, 0) << configured.err;
        EXPECT_EQ(configured.err.find(line) != std::string::npos, moved) << configured.err;
    }
}

class windows_package : public testing::Test {
protected:
    void SetUp() override {
        const fs::path target = directory_.path() / "My Music (x86) 鍵盤 żółć";
        fs::create_directory(target);
        const process_result unpacked =
            run({"cmake", "-E", "tar", "xf", zip_}, {.environment = {}, .directory = target});
        ASSERT_EQ(unpacked.exit_code, 0) << unpacked.err;
        place_ = target / zip_.stem();
        fs::copy(fs::path(variable("QUENVAREL_UNDER_TEST")).parent_path() / "winmm.dll", place_);
    }
    // Starts it as a double click does; a program gets a console of its own.
    process start(const std::string& file, const std::string& display, const std::string& devices) const {
        std::vector<std::string> command = {variable("QUENVAREL_WINE"), place_ / file};
        if (file != "play.cmd")
            command = {variable("QUENVAREL_WINE"), "start", "/wait", "/unix", place_ / file};
        return process(command, {.environment = {{"DISPLAY", display},
                                                 {"WINEDLLOVERRIDES", "winmm=n;mscoree=;mshtml="},
                                                 {"QUENVAREL_WINMM_LOG", directory_.file("log")},
                                                 {"QUENVAREL_WINMM_OUTPUTS", devices}},
                                 .directory = directory_.path()});
    }

    const fs::path zip_ = package("quenvarel-2\\.2\\.0-windows-x86_64\\.zip");
    temporary_directory directory_;
    fs::path place_;
};

TEST_F(windows_package, play_cmd_plays_on_the_first_device) {
    virtual_display display;
    process program = start("play.cmd", display.name(), "GS Synth;USB");
    EXPECT_EQ(play_a_note(display, program), 0) << program.out() << program.err();
    EXPECT_NE(program.out().find("select write device: 0: GS Synth"), std::string::npos) << program.out();
    EXPECT_EQ(program.out().find("LoadShape"), std::string::npos) << program.out();
    EXPECT_NE(read_file(directory_.file("log")).find("midiOutShortMsg 91 3c 7f 00 -> 0"), std::string::npos);
}

TEST_F(windows_package, program_plays_on_the_first_device) {
    virtual_display display;
    process program = start("quenvarel.exe", display.name(), "GS Synth;USB");
    EXPECT_TRUE(display.focus(display.find_window(window_title)));
    display.drive("keydown q keyup q key Escape");
    EXPECT_EQ(program.wait(), 0);
    const std::string log = read_file(directory_.file("log"));
    EXPECT_NE(log.find("midiOutOpen 0 "), std::string::npos) << log;
    EXPECT_NE(log.find("midiOutShortMsg 91 3c 7f 00 -> 0"), std::string::npos) << log;
}

TEST_F(windows_package, program_without_a_device_waits_for_a_key) {
    // Only the title of a console in a place with a plain name can be read: it is that place.
    fs::rename(place_, directory_.path() / "place");
    place_ = directory_.path() / "place";
    std::string title = "Z:" + (place_ / "quenvarel.exe").string();
    std::replace(title.begin(), title.end(), '/', '\\');
    virtual_display display;
    process program = start("quenvarel.exe", display.name(), "");
    EXPECT_TRUE(display.focus(display.find_window(title)));
    display.drive("key Return");
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(windows_package, has_the_tools_and_the_terms_of_what_is_in_it) {
    const process_result checked =
        run({variable("QUENVAREL_WINE"), place_ / "pmt3d.exe", "check", place_ / "docs/examples/evening.pmt",
             place_ / "quenvarel.pmt/60.pmt"},
            {.environment = {{"DISPLAY", ""}}, .directory = {}});
    EXPECT_EQ(checked.exit_code, 0) << checked.out << checked.err;
    for (const std::string file : {"midimon.exe", "docs/model-format.md", "readme.txt", "LICENSE.txt"})
        EXPECT_TRUE(fs::exists(place_ / file)) << file;
    for (const std::string part : {"zlib", "libpng1.6", "libjpeg-turbo", "glew", "freeglut", "fonts-inter",
                                   "fonts-dejavu-core", "g++-mingw-w64-x86-64-posix", "mingw-w64-x86-64-dev"})
        EXPECT_GT(fs::file_size(place_ / "licenses" / (part + ".txt")), 500u) << part;
}

// GLUT gives its windows the icon of this name.
TEST_F(windows_package, holds_its_icon_and_knows_every_monitor) {
    const std::string program = read_file(place_ / "quenvarel.exe");
    EXPECT_NE(program.find(std::string("G\0L\0U\0T\0_\0I\0C\0O\0N\0", 18)), std::string::npos);
    EXPECT_NE(program.find(">PerMonitorV2, PerMonitor<"), std::string::npos);
}

TEST_F(windows_package, play_cmd_without_a_device_says_so) {
    process program = start("play.cmd", "", "");
    EXPECT_EQ(program.wait(), 1);
    EXPECT_NE(program.out().find("output devices:"), std::string::npos) << program.out();
    EXPECT_NE(program.out().find("could not be opened"), std::string::npos) << program.out();
}

} // namespace
