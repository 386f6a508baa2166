#include "libutils/refvector2.h"
#include "libutils/saved_file.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;
using test_support::read_file;

namespace {

struct saved_file : testing::Test {
    std::ptrdiff_t files() const {
        return std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator());
    }
    const test_support::temporary_directory directory;
};

TEST_F(saved_file, appears_whole_and_only_when_committed) {
    // On Windows this byte is a character that has another number.
    const std::string name = directory.path().string() + "/\x80.pmt";
    std::ofstream(name) << "old";
    const auto read = [&] {
        std::ifstream by_the_system(name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(by_the_system), {});
    };
    EXPECT_TRUE(libutils::saved_file(name).write("half of the n")) << "and abandoned";
    libutils::saved_file file(name);
    EXPECT_TRUE(file.write(std::string("new\0", 4)) && file.write("\r\n"));
    EXPECT_EQ(read(), "old");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(read(), std::string("new\0\r\n", 6));
    EXPECT_EQ(files(), 1);
    libutils::refvector2<char> writer;
    EXPECT_TRUE(writer.try_allocate(0, name.c_str(), 1)) << "nobody holds it any more";

    EXPECT_FALSE(libutils::saved_file(directory.path().string()).is_open()) << "a directory";
    libutils::saved_file never(directory.file("missing/x.pmt"));
    EXPECT_FALSE(never.is_open() || never.write("x") || never.commit());
    EXPECT_EQ(files(), 1);
}

// Each thread stands for a process: what tells the saves apart are open files.
TEST_F(saved_file, several_save_the_same_file_at_once) {
    const std::string name = directory.file("model.pmt");
    std::atomic<int> failed{0}, saving{4};
    std::vector<std::jthread> savers;
    for (std::size_t n = 0; n < 4; ++n)
        savers.emplace_back([&, n] {
            const std::string piece(10'000 + n, char('a' + n));
            for (int i = 0; i < 50; ++i) {
                libutils::saved_file file(name);
                file.write(piece);
                file.write(piece);
                failed += !file.commit();
            }
            --saving;
        });
    int mixed = 0;
    while (saving > 0) {
        const std::string text = read_file(name);
        if (!text.empty()) mixed += text != std::string(2 * (10'000 + std::size_t(text[0] - 'a')), text[0]);
        std::this_thread::sleep_for(std::chrono::milliseconds(1)); // no file that is read is replaced
    }
    savers.clear();
    EXPECT_TRUE(failed == 0 && mixed == 0 && files() == 1) << failed << ' ' << mixed;
}

TEST_F(saved_file, removes_what_killed_saves_left_behind) {
    const std::string name = directory.file("model.pmt");
    const std::string begun(100'000, 'x');
    libutils::saved_file going_on(name);
    EXPECT_TRUE(going_on.write(begun));
    for (const std::string other : {".saving7", ".saving30", ".saving1x", ".saving", "x.saving1"})
        directory.write("model.pmt" + other, "of a killed save, or not");
    EXPECT_TRUE(libutils::saved_file(name).commit());
    EXPECT_EQ(files(), 5) << "the file, the one that is still being saved and three of others";
    EXPECT_TRUE(going_on.write("last") && going_on.commit());
    EXPECT_EQ(read_file(name), begun + "last");
    EXPECT_EQ(files(), 4);
}

#ifndef _WIN32
TEST_F(saved_file, a_full_disk_leaves_the_old_file) {
    const std::string name = directory.write("model.pmt", "old");
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{100, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    libutils::saved_file file(name);
    file.write(std::string(100'000, 'x'));
    EXPECT_FALSE(file.commit());
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(read_file(name), "old");
    EXPECT_EQ(files(), 1);

    libutils::saved_file full("/dev/full"); // no ordinary file: written in place
    EXPECT_TRUE(full.is_open());
    EXPECT_FALSE(full.write("x") && full.commit());
}

// Nothing is read-only for root.
bool opens_for_ordinary_user(const std::string& name) {
    const uid_t user = geteuid();
    EXPECT_EQ(user == 0 ? seteuid(65534) : 0, 0);
    const bool opens = libutils::saved_file(name).is_open();
    EXPECT_EQ(seteuid(user), 0);
    return opens;
}

TEST_F(saved_file, keeps_links_and_permissions) {
    const std::string name = directory.write("model.pmt", "old"), link = directory.file("link.pmt");
    fs::create_symlink("model.pmt", link);
    chmod(name.c_str(), 0640);
    libutils::saved_file file(link);
    EXPECT_TRUE(file.write("new") && file.commit());
    EXPECT_TRUE(fs::is_symlink(link) && fs::status(name).permissions() == fs::perms(0640));
    EXPECT_EQ(read_file(name), "new");

    for (const auto& [of_file, of_folder] : {std::pair(0444u, 0777u), {0666, 0777}, {0666, 0555}}) {
        chmod(name.c_str(), of_file);
        chmod(directory.path().c_str(), of_folder);
        EXPECT_EQ(opens_for_ordinary_user(name), (of_file & of_folder) == 0666) << std::oct << of_file;
    }
    chmod(directory.path().c_str(), 0700);
    EXPECT_EQ(read_file(name), "new");
}
#endif

} // namespace
