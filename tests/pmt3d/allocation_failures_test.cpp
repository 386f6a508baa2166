// Loading and saving when the memory ends, at each allocation in turn: a message or std::bad_alloc, nothing
// half done taken for whole, nothing lost, and the next time it works.

#include "libgr/image/autoformat.h"
#include "pmt3d/format/dispatch.h"
#include "pmt3d/mirror/open_pictures.h"
#include "support/allocations.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <new>
#include <sstream>
#include <sys/mman.h>

using test_support::read_file;

extern "C" void* __real_mmap(void* at, std::size_t size, int rights, int flags, int file, off_t offset);
extern "C" void* __wrap_mmap(void* at, std::size_t size, int rights, int flags, int file, off_t offset) {
    if (!test_support::next_allocation_fails()) return __real_mmap(at, size, rights, flags, file, offset);
    errno = ENOMEM;
    return MAP_FAILED;
}

namespace {

// Calls the work until it gets through, each time with the next allocation failing, and `check` after each
// call, with whether it was done. A refusal says why. Returns the number of allocations that have failed.
template <class Work, class Check>
std::size_t fail_each(Work&& work, Check&& check) {
    for (std::size_t n = 0;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        std::ostringstream error(std::string(1000, ' ')); // so much is said without an allocation
        std::streambuf* const before = std::cerr.rdbuf(error.rdbuf());
        bool done = false, thrown = false;
        test_support::allocations_before_failure = n;
        try {
            done = work(error);
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        const bool failed = test_support::allocations_before_failure == test_support::no_failure;
        test_support::allocations_before_failure = test_support::no_failure;
        std::cerr.rdbuf(before);
        const std::string heard = error.str().substr(0, std::size_t(error.tellp()));
        check(done, heard);
        EXPECT_TRUE(done || thrown || heard.ends_with('\n')) << "refused without a word";
        EXPECT_TRUE(done || failed);
        if (!failed || testing::Test::HasFailure()) return n;
    }
}

std::string seed(const std::string& name) {
    return read_file(std::string(QUENVAREL_TEST_DATA "/../../fuzz/seeds/") + name);
}

TEST(allocation_failures, loading) {
    const test_support::temporary_directory directory;
    for (const std::string part : {"", "_posx", "_negx", "_posy", "_negy", "_posz", "_negz"})
        directory.write("t" + part + ".tga", seed("tga/bits24.tga"));
    for (const std::string file :
         {"model/textured.pmt", "model/nurbs.pmt", "model/environment.pmt", "stl/binary", "stl/text",
          "bmp/bits8.bmp", "tga/mapped.tga", "png/palette.png", "png/interlaced.png", "jpeg/exif.jpg"}) {
        SCOPED_TRACE(file);
        const std::size_t dot = file.find('.');
        const std::string ending = dot == file.npos ? ".stl" : file.substr(dot),
                          name = directory.write("x" + ending, seed(file));
        const bool is_model = ending == ".pmt" || ending == ".stl";
        libgr::image2d image;
        std::string said;
        const std::size_t failed = fail_each(
            [&](std::ostream& error) {
                pmt3d::model_t model;
                pmt3d::open_pictures pictures;
                image = {};
                return is_model ? pmt3d::load(model, name, {.error = error, .pictures = &pictures})
                                : libgr::autoloadformat(image, name);
            },
            [&](bool done, const std::string& heard) {
                EXPECT_EQ(done && !is_model, image.holds_pixels() && image.width > 0);
                said += heard;
            });
        EXPECT_GT(failed, is_model ? 5u : 2u);
        if (file != "model/nurbs.pmt") continue;
        for (const char* line : {"polygon.allocate() fail.\n", "makeCtlpts() error.\n"})
            EXPECT_NE(said.find(line), said.npos) << line << said;
    }
}

TEST(allocation_failures, saving_leaves_the_old_file_or_the_whole_new_one) {
    const test_support::temporary_directory directory;
    const std::string name = directory.write("m.pmt", seed("model/all_crlf.pmt"));
    pmt3d::model_t model;
    ASSERT_TRUE(pmt3d::load(model, name, {std::cerr}));
    for (const char* copy : {"copy.pmt", "copy.stl"}) {
        const std::string target = directory.file(copy);
        ASSERT_TRUE(pmt3d::save(model, target));
        const std::string whole = read_file(target);
        directory.write(copy, "old");
        fail_each([&](std::ostream&) { return pmt3d::save(model, target); },
                  [&](bool done, auto&&) {
                      EXPECT_EQ(read_file(target), done ? whole : "old");
                      directory.write(copy, "old");
                  });
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
            EXPECT_EQ(entry.path().string().find(".saving"), std::string::npos) << "left behind";
    }
}

} // namespace
