#include "libutils/refvector.h"

#include <gtest/gtest.h>

namespace {

using channel = libutils::refvector<unsigned short>;

TEST(refvector, resizing_keeps_the_leading_elements_and_adds_zeros) {
    channel v;
    EXPECT_TRUE(v.empty() && v.size() == 0);
    ASSERT_TRUE(v.resize(3));
    EXPECT_TRUE(!v.empty() && v.elements().size() == 3);
    EXPECT_EQ(v.size(), 38u) << "the bytes of the whole block";
    EXPECT_EQ(std::uintptr_t(v.end()) - std::uintptr_t(v.begin()), 76u);
    for (unsigned short i = 0; i < 3; ++i)
        v[i] = i + 1;
    ASSERT_TRUE(v.resize(1000));
    EXPECT_EQ(v[2], 3);
    for (const unsigned short value : v.elements().subspan(3))
        EXPECT_EQ(value, 0);
    ASSERT_TRUE(v.resize(2));
    for (const std::uint64_t count : {~std::uint64_t(0), ~std::uint64_t(0) / 2 - 8, std::uint64_t(1) << 62})
        EXPECT_FALSE(v.resize(count)) << count << " are beyond all memory";
    EXPECT_TRUE(v[1] == 2 && v.size() == 36);
    EXPECT_TRUE(v.resize(0) && v.empty() && v.elements().empty());
}

TEST(refvector, assignment_shares_and_resizing_parts) {
    channel a, b;
    ASSERT_TRUE(a.resize(2));
    b = a;
    b[1] = 7;
    EXPECT_EQ(a[1], 7);
    b = b;
    ASSERT_TRUE(a.resize(4));
    a[1] = 8;
    EXPECT_EQ(b[1], 7);
    b = channel();
    EXPECT_TRUE(b.empty());
}

} // namespace
