#include "libutils/byteorder.h"

#include <gtest/gtest.h>

#include <bit>

namespace {

// The bytes 01 02 03 ... read as numbers, through the base class as the readers do.
TEST(byteorder, reads_numbers_in_the_order_of_the_file) {
    const libutils::intel_byteorder intel;
    const libutils::motorola_byteorder motorola;
    const auto read = [](const libutils::byteorder& order) {
        using bytes = unsigned char;
        struct {
            bytes b[2];
        } v16 = {{1, 2}};
        struct {
            bytes b[4];
        } v32 = {{1, 2, 3, 4}};
        struct {
            bytes b[8];
        } v64 = {{1, 2, 3, 4, 5, 6, 7, 8}};
        return std::tuple(order.to_host16(std::bit_cast<std::uint16_t>(v16)),
                          order.to_host32(std::bit_cast<std::uint32_t>(v32)),
                          order.to_host64(std::bit_cast<std::uint64_t>(v64)));
    };
    EXPECT_EQ(read(intel), std::tuple(0x0201, 0x04030201u, 0x0807060504030201u));
    EXPECT_EQ(read(motorola), std::tuple(0x0102, 0x01020304u, 0x0102030405060708u));
}

} // namespace
