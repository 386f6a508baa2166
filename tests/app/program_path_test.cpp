#include "app/program_path.h"

#include "libutils/executable_path.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace quenvarel;

namespace {

TEST(program_path, extension_gives_way_to_the_dot) {
    struct {
        const char *path, *base;
    } const cases[] = {
        {"quenvarel", "quenvarel."},
        {"quenvarel.exe", "quenvarel."},
        {"a.b/quenvarel", "a.b/quenvarel."},
        {"a.b/quenvarel-2.2.0.exe", "a.b/quenvarel-2.2.0."},
        {"./play.exe", "./play."},
        {"../.hidden", "../.hidden."},
        {"dot.", "dot."},
        {"", "."},
#ifdef _WIN32
        {"C:\\x\\play.exe", "C:\\x\\play."},
        {"C:\\x.y\\play", "C:\\x.y\\play."},
        {"C:.exe", "C:.exe."},
#endif
    };
    for (const auto& c : cases)
        EXPECT_EQ(without_extension(c.path), c.base) << c.path;
}

TEST(program_path, models_are_looked_for_as_typed_then_beside_the_program_then_where_data_is_installed) {
    const test_support::temporary_directory place;
    const std::string typed = place.file("play.exe");
    EXPECT_EQ(model_base_path(typed), place.file("play.")) << "nothing is there";

    const std::filesystem::path program = libutils::executable_path();
    ASSERT_TRUE(std::filesystem::exists(program));
    const std::filesystem::path stem = program.parent_path() / program.stem();
    const std::filesystem::path shared =
        program.parent_path() / ".." / "share" / "quenvarel" / program.stem();

    std::filesystem::create_directories(shared.string() + ".pmt");
    EXPECT_TRUE(std::filesystem::equivalent(model_base_path(typed) + "pmt", shared.string() + ".pmt"));
    std::filesystem::create_directory(stem.string() + ".pmt");
    EXPECT_TRUE(std::filesystem::equivalent(model_base_path(typed) + "pmt", stem.string() + ".pmt"));
    std::filesystem::create_directory(place.path() / "play.pmt");
    EXPECT_EQ(model_base_path(typed), place.file("play."));

    std::filesystem::remove(stem.string() + ".pmt");
    std::filesystem::remove_all(program.parent_path() / ".." / "share");
}

} // namespace
