#include "libutils/byteorder.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <tuple>

namespace {

// The bytes 01 02 03 ... read as numbers, through the base class as the readers do.
TEST(byteorder, reads_numbers_in_the_order_of_the_file) {
    const libutils::intel_byteorder intel;
    const libutils::motorola_byteorder motorola;
    const auto read = [](const libutils::byteorder& order) {
        constexpr std::array<unsigned char, 8> bytes = {1, 2, 3, 4, 5, 6, 7, 8};
        return std::tuple(
            order.to_host16(std::bit_cast<std::uint16_t>(std::array{bytes[0], bytes[1]})),
            order.to_host32(std::bit_cast<std::uint32_t>(std::array{bytes[0], bytes[1], bytes[2], bytes[3]})),
            order.to_host64(std::bit_cast<std::uint64_t>(bytes)));
    };
    EXPECT_EQ(read(intel), std::tuple(0x0201, 0x04030201u, 0x0807060504030201u));
    EXPECT_EQ(read(motorola), std::tuple(0x0102, 0x01020304u, 0x0102030405060708u));
}

} // namespace
