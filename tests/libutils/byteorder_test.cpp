#include "libutils/byteorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

// The bytes 01 02 03 ... read as numbers, through the base class as the readers do.
TEST(byteorder, reads_numbers_in_the_order_of_the_file) {
    const unsigned char bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint16_t v16;
    std::uint32_t v32;
    std::uint64_t v64;
    std::memcpy(&v16, bytes, sizeof v16);
    std::memcpy(&v32, bytes, sizeof v32);
    std::memcpy(&v64, bytes, sizeof v64);
    const std::unique_ptr<libutils::byteorder> intel = std::make_unique<libutils::intel_byteorder>();
    EXPECT_EQ(intel->to_host16(v16), 0x0201);
    EXPECT_EQ(intel->to_host32(v32), 0x04030201u);
    EXPECT_EQ(intel->to_host64(v64), 0x0807060504030201u);
    const std::unique_ptr<libutils::byteorder> motorola = std::make_unique<libutils::motorola_byteorder>();
    EXPECT_EQ(motorola->to_host16(v16), 0x0102);
    EXPECT_EQ(motorola->to_host32(v32), 0x01020304u);
    EXPECT_EQ(motorola->to_host64(v64), 0x0102030405060708u);
}

} // namespace
