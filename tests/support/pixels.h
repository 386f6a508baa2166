#pragma once
// A picture as tests look at it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace test_support {

struct picture {
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgba; // four bytes a pixel, the top row first

    // x from the left, y from the bottom, as the GL counts.
    std::array<int, 4> at(int x, int y) const {
        const std::uint8_t* p = &rgba[std::size_t((height - 1 - y) * width + x) * 4];
        return {p[0], p[1], p[2], p[3]};
    }
};

} // namespace test_support
