#include "libutils/error_report.h"
#include "libutils/ofsvector.h"
#include "libutils/refvector2.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace {

using libutils::mapping_failure;
using libutils::ofsvector;
using libutils::refvector2;
using bytes = refvector2<unsigned char>;

struct in_folder : testing::Test {
    const test_support::temporary_directory directory;
};
using refvector2_of_file = in_folder;

// That this process has open; 0 where that is not for us to know: Wine opens and keeps some of its own.
std::ptrdiff_t descriptors() {
#ifdef _WIN32
    return 0;
#else
    std::error_code none;
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd", none),
                         std::filesystem::directory_iterator());
#endif
}

// Within a page, over several, back below the first size, to nothing, and up again: nothing old comes back.
TEST(refvector2, a_resize_is_seen_by_every_handle_and_keeps_the_contents) {
    bytes a;
    EXPECT_TRUE(a.empty() && a.size() == 0 && !a.data() && a.begin() == a.end());
    ASSERT_TRUE(a.allocate(0));
    bytes b = a;
    EXPECT_EQ(a.use_count(), 2u);
    std::size_t before = 0;
    for (const std::size_t size : {10, 9, 100000, 4, 5000, 0, 70}) {
        ASSERT_TRUE(b.resize(size)) << size;
        EXPECT_TRUE(a.size() == size && a.empty() == (size == 0));
        EXPECT_EQ(std::as_const(a).end() - std::as_const(b).begin(), size);
        const auto fresh = a.begin() + std::min(before, size);
        EXPECT_TRUE(std::all_of(a.begin(), fresh, [](int i) { return i == 7; }));
        EXPECT_TRUE(std::all_of(fresh, a.end(), [](int i) { return i == 0; }));
        std::fill(a.begin(), a.end(), 7);
        before = size;
    }
    a.release();
    EXPECT_TRUE(b.use_count() == 1 && b[69] == 7);
    EXPECT_FALSE(b.resize(2, 8)) << "memory begins at its start";
}

TEST(refvector2, allocating_preserves_when_asked) {
    refvector2<int> v, old;
    ASSERT_TRUE(v.allocate(4));
    v[1] = 5;
    old = v;
    ASSERT_TRUE(v.allocate(8, nullptr, 1, 0, true));
    EXPECT_TRUE(v[1] == 5 && old.size() == 4 && v.data() != old.data());
    EXPECT_FALSE(v.allocate(1, nullptr, 7, 0, true)) << "there is no such mode";
    EXPECT_EQ(v.size(), 8u);
    EXPECT_FALSE(v.allocate(0, nullptr, 2) || v.data());
}

TEST(refvector2, more_than_the_address_space_fails_cleanly) {
    for (const std::uint64_t count : {~std::uint64_t(0), ~std::uint64_t(0) / 8 + 2, std::uint64_t(1) << 45}) {
        refvector2<double> v;
        EXPECT_FALSE(v.allocate(count)) << count;
        ASSERT_TRUE(v.resize(2));
        v[1] = 3.0;
        EXPECT_FALSE(v.resize(count)) << count;
        EXPECT_TRUE(!v.data() && v.begin() == v.end());
        ASSERT_TRUE(v.resize(2)) << "the failure has not lost the storage";
        EXPECT_EQ(v[1], 3.0);
    }
}

TEST_F(refvector2_of_file, is_mapped) {
    std::string text(200001, 'x');
    text[0] = 'a';
    text[70000] = 'b';
    const std::string name = directory.write("file", text);
    bytes part;
    ASSERT_TRUE(part.allocate(3, name.c_str(), 0, 69999));
    EXPECT_EQ(std::string(part.begin(), part.end()), "xbx");
    EXPECT_TRUE(part.resize(2, 70000));
    EXPECT_EQ(part[0], 'b');
    EXPECT_FALSE(part.resize(200001) || part.data());
    part.release();
    EXPECT_FALSE(part.allocate(0, name.c_str(), 0, 1)) << "the whole file does not begin at its second byte";
    EXPECT_FALSE(part.allocate(3, name.c_str(), 0, 199999)) << "the view ends behind the file";
    ASSERT_TRUE(part.allocate(200003, name.c_str(), 1)) << "a writer extends the file";
    part[1] = text[1] = 'c';
    part[200002] = 'd';
    part.release();
    EXPECT_EQ(test_support::read_file(name), text + std::string("\0d", 2));

    // Beyond 32 bits, in a file that is all hole.
    const std::uint64_t size = (std::uint64_t(1) << 32) + 6;
    std::filesystem::resize_file(name, size);
    ASSERT_TRUE(part.allocate(2, name.c_str(), 1, size - 3));
    part[1] = 'l';
    ASSERT_TRUE(part.allocate(0, name.c_str(), 0));
    ASSERT_EQ(part.size(), size);
    EXPECT_TRUE(part[0] == 'a' && part[size - 2] == 'l');
    ASSERT_TRUE(part.allocate(2, name.c_str(), 0, size - 2));
    EXPECT_EQ(part[0], 'l');
}

TEST_F(refvector2_of_file, that_is_read_cannot_be_written) {
    const std::string name = directory.write("file", "text");
    bytes reader, writer;
    ASSERT_TRUE(reader.allocate(0, name.c_str(), 0));
    bytes copy = reader;
    reader.release();
    EXPECT_FALSE(writer.try_allocate(0, name.c_str(), 1));
    copy.release();
    EXPECT_TRUE(writer.try_allocate(0, name.c_str(), 1));
#ifdef _WIN32
    EXPECT_FALSE(reader.try_allocate(0, name.c_str()));
#else
    EXPECT_TRUE(reader.try_allocate(0, name.c_str())) << "somebody's lock is no reason not to read";
    std::filesystem::remove(name);
    EXPECT_EQ(std::string(reader.begin(), reader.end()), "text") << "also when the file is gone";
#endif
}

TEST_F(refvector2_of_file, is_zero_where_it_cannot_be_read_and_knows_it) {
    const std::string name = directory.write("file", std::string(300'000, 'x'));
    bytes other, cut;
    ASSERT_TRUE(other.try_allocate(0, directory.write("other", "y").c_str()));
    ASSERT_TRUE(cut.try_allocate(200'000, name.c_str(), 0, 70'001));
    EXPECT_TRUE(cut.is_whole());
#ifdef _WIN32
    // What a disk that fails does. Nobody can cut a file that is mapped.
    ULONG_PTR fault[] = {0, ULONG_PTR(cut.data() + 150'000), 0};
    RaiseException(EXCEPTION_IN_PAGE_ERROR, 0, 3, fault);
#else
    std::filesystem::resize_file(name, 270'000);
    EXPECT_EQ(cut[199'998], 'x');
    EXPECT_FALSE(cut.is_whole()) << "of the file";
    std::filesystem::resize_file(name, 100'000);
    EXPECT_TRUE(cut[20'000] == 'x' && cut[199'999] == 0);
    std::filesystem::resize_file(name, 300'000);
#endif
    EXPECT_EQ(cut[150'000], 0);
    EXPECT_FALSE(cut.is_whole()) << "also when it is as long as before";
    EXPECT_TRUE(other.is_whole() && other[0] == 'y');
    EXPECT_TRUE(cut.try_allocate(100'000, name.c_str()) && cut.is_whole());
}

#ifndef _WIN32
TEST_F(refvector2_of_file, has_its_place_on_the_disk_but_untouched_memory_costs_nothing) {
    refvector2<double> memory;
    ASSERT_TRUE(memory.allocate(std::uint64_t(1) << 33)) << "64 GiB";
    memory[memory.size() - 1] = 1.0;
    ASSERT_TRUE(memory.resize(std::uint64_t(1) << 34));
    EXPECT_EQ(memory[memory.size() / 2 - 1], 1.0);
    const std::string name = directory.write("file", "first");
    std::filesystem::resize_file(name, 1 << 20);
    bytes v;
    ASSERT_TRUE(v.allocate(2 << 20, name.c_str(), 1)) << "half of it a hole, half beyond the end";
    struct stat status {};
    stat(name.c_str(), &status);
    EXPECT_GE(status.st_blocks * 512, 2 << 20);
}

#endif

TEST_F(refvector2_of_file, fails_in_an_ordinary_way_for_who_asks_first) {
    using step = mapping_failure::step;
    const std::string missing = directory.file("missing"), empty = directory.write("empty", ""),
                      small = directory.write("small", "four"), folder = directory.path().string(),
                      pipe = directory.file("pipe"), locked = directory.write("locked", "text");
    bytes reader;
    ASSERT_TRUE(reader.try_allocate(0, locked.c_str()));
    std::vector<std::tuple<std::string, std::uint64_t, int, step>> cases = {
        {missing, 0, 0, step::open}, {missing, 1, 1, step::open},   {empty, 0, 0, step::create},
        {empty, 1, 0, step::create}, {small, 5, 0, step::create},   {folder, 0, 0, step::open},
        {small, 1, 2, step::mode},   {small, ~0ull, 0, step::view}, {locked, 0, 1, step::open},
    };
#ifndef _WIN32
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    cases.push_back({pipe, 0, 0, step::open}); // without waiting for who writes into it
#endif
    const auto before = descriptors();
    for (const auto& [name, count, mode, at] : cases) {
        bytes v;
        mapping_failure why;
        EXPECT_FALSE(v.try_allocate(count, name.c_str(), mode, 0, &why) || v.data()) << name;
        EXPECT_TRUE(why.at == at && !why.text().empty() && !why.text().ends_with('\n')) << name;
    }
    EXPECT_EQ(descriptors(), before) << "nothing was left open";
    EXPECT_TRUE(reader.try_allocate(0, small.c_str(), 1));
}

TEST_F(refvector2_of_file, that_fails_unforeseen_ends_the_process) {
    libutils::set_fatal_presenter([](const char* text, const char*) { std::fputs(text, stderr); });
    const std::string missing = directory.file("missing"), empty = directory.write("empty", "");
    bytes v;
    const std::string failed = "alloc_mmap_win::allocate\\(\\) failed with error ";
    EXPECT_EXIT(v.allocate(0, missing.c_str(), 0), testing::ExitedWithCode(2),
                "missing: file open failed\\.\r?\n" + failed + "2: ");
    EXPECT_EXIT(
        v.allocate(0, empty.c_str(), 0), [](int status) { return !testing::ExitedWithCode(0)(status); },
        "empty: create file mapping failed\\.\r?\n" + failed);
    libutils::set_fatal_presenter(nullptr);
}

using ofsvector_of_file = in_folder;
TEST_F(ofsvector_of_file, views_a_part_of_it) {
    const std::string name = directory.write("file", "0123456789abcdefg");
    bytes file;
    ASSERT_TRUE(file.allocate(0, name.c_str(), 0));
    ofsvector<unsigned char> head;
    ofsvector<std::uint32_t> words;
    ASSERT_TRUE(head.view(file, 4, 3));
    words = file;
    words.set_view(8, 100);
    EXPECT_EQ(file.use_count(), 3u);
    file.release();
    EXPECT_EQ(std::string(head.begin(), head.end()), "456");
    EXPECT_EQ(words.size(), 2u) << "the 17th byte is no whole word";
    EXPECT_EQ(words[1], 0x66656463u);
    const ofsvector<std::uint32_t> copy = words;
    ofsvector<std::uint32_t> taken = std::move(words);
    for (const auto* view : {&copy, static_cast<decltype(&copy)>(&taken)})
        EXPECT_TRUE(view->offset() == 8 && view->count_limit() == 100);
    taken.release();
    for (const auto* view : {&taken, &words})
        EXPECT_TRUE(view->offset() == 0 && view->size() == 0);
    EXPECT_EQ(copy.end() - copy.begin(), 2);
    head.set_view(4, 0);
    EXPECT_TRUE(head.empty());
}

TEST(ofsvector, offsets_beyond_the_storage_and_new_sizes) {
    bytes v;
    ASSERT_TRUE(v.resize(10));
    ofsvector<std::uint32_t> view;
    EXPECT_TRUE(view.view(v, 8) && view.size() == 0);
    EXPECT_FALSE(view.view(v, 9)) << "two whole words are eight bytes";
    EXPECT_EQ(v.use_count(), 1u);
    view = v;
    view[1] = 1;
    view.set_view(4, 0);
    ASSERT_TRUE(view.resize(20)) << "which lifts the limit, but not the offset";
    EXPECT_TRUE(view.size() == 19 && view[0] == 1);
    view.set_view(84);
    EXPECT_EQ(view.size(), (~std::uint64_t(0) - 3) / 4) << "unchecked, the count wraps";
    EXPECT_TRUE(view.allocate(3) && view.offset() == 0 && view.size() == 3);
}

} // namespace
