#include "libgr/image/descriptor.h"

#include "libutils/report.h"

#include <array>
#include <cstdlib>

namespace libgr {

namespace {

struct bits_entry {
    std::uint32_t per_component;
    std::uint32_t per_pixel; // of the packed classes
};

constexpr std::array<std::uint32_t, pixel_format::count> component_counts = {1, 2, 1, 1, 1, 1, 1, 2, 3,
                                                                             4, 3, 4, 1, 2, 3, 4, 2, 1};
constexpr std::array<bits_entry, bits_class::count> bit_counts = {{{1, 0},
                                                                   {2, 0},
                                                                   {4, 0},
                                                                   {8, 0},
                                                                   {12, 0},
                                                                   {16, 0},
                                                                   {24, 0},
                                                                   {32, 0},
                                                                   {64, 0},
                                                                   {0, 8},
                                                                   {0, 16},
                                                                   {0, 16},
                                                                   {0, 32},
                                                                   {0, 8},
                                                                   {0, 16},
                                                                   {0, 0}}};

[[noreturn]] void stop(const char* what, std::uint32_t value) {
    libutils::report(what, value, ": no such value in a pixel descriptor.");
    std::abort();
}

const bits_entry& bits_of(std::uint32_t bits) {
    if (bits >= bit_counts.size()) stop("bits class ", bits);
    return bit_counts[bits];
}

} // namespace

std::uint32_t components(std::uint32_t format) {
    if (format >= component_counts.size()) stop("pixel format ", format);
    return component_counts[format];
}

std::uint32_t bits_per_component(std::uint32_t bits) {
    return bits_of(bits).per_component;
}

std::uint32_t bits_per_pixel(const pixel_descriptor& descriptor) {
    const std::uint32_t channels = components(descriptor.format);
    const bits_entry& entry = bits_of(descriptor.bits);
    return entry.per_component ? channels * entry.per_component : entry.per_pixel;
}

} // namespace libgr
