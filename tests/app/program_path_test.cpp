#include "app/program_path.h"

#include "libutils/executable_path.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

using namespace quenvarel;

TEST(program_path, extension_gives_way_to_the_dot) {
    std::vector<std::pair<const char*, const char*>> cases = {
        {"quenvarel", "quenvarel."},
        {"quenvarel.exe", "quenvarel."},
        {"a.b/quenvarel", "a.b/quenvarel."},
        {"a.b/qu-2.2.0.exe", "a.b/qu-2.2.0."},
        {"./play.exe", "./play."},
        {"../.hidden", "../.hidden."},
        {"dot.", "dot."},
        {"", "."},
    };
#ifdef _WIN32
    cases.insert(
        cases.end(),
        {{"C:\\x\\play.exe", "C:\\x\\play."}, {"C:\\x.y\\play", "C:\\x.y\\play."}, {"C:.exe", "C:.exe."}});
#endif
    for (const auto& [path, base] : cases)
        EXPECT_EQ(without_extension(path), base) << path;
}

TEST(program_path, models_are_looked_for_as_typed_then_among_the_users_then_where_the_program_is) {
    namespace fs = std::filesystem;
    const test_support::temporary_directory place;
    const std::string typed = place.file("play.exe"), own = place.file("own");
#ifdef _WIN32
    _putenv_s("APPDATA", own.c_str());
#else
    setenv("XDG_DATA_HOME", own.c_str(), 1);
#endif
    EXPECT_EQ(model_base_path(typed), place.file("play.")) << "nothing is there";

    const fs::path program = libutils::executable_path(), folder = program.parent_path(),
                   shared = folder / ".." / "share" / "quenvarel", users = fs::path(own) / "quenvarel";
    const fs::path name = program.stem(), link = "play";
    // Each of them comes before those above it.
    for (const fs::path& base : {shared / name, folder / name, users / name, shared / link, folder / link,
                                 users / link, place.path() / link}) {
        const std::string models = base.string() + ".pmt";
        fs::create_directories(models);
        EXPECT_TRUE(fs::equivalent(model_base_path(typed) + "pmt", models)) << models;
    }
    EXPECT_EQ(model_base_path(typed), place.file("play."));
    for (const fs::path& base : {folder / name, folder / link})
        fs::remove(base.string() + ".pmt");
    fs::remove_all(folder / ".." / "share");
}
