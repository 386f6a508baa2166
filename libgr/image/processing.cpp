#include "libgr/image/processing.h"

#include "libgr/image/row_kernels.h"
#include "libutils/report.h"

#include <array>
#include <utility>

namespace libgr {

using libutils::report;

namespace {

// A picture of the source's size with fresh pixels.
bool start(image2d& made, const image2d& source, const pixel_descriptor& descriptor) {
    made.descriptor = descriptor;
    made.width = source.width;
    made.height = source.height;
    return made.allocate();
}

} // namespace

bool rgb2grey(image2d& made, const image2d& source) {
    const auto [format, type, bits] = source.descriptor;
    if (format != pixel_format::rgb) return report(format, ": image format is not RGB.");
    if (type != sample_type::unsigned_integer) return report(type, ": image type is not UINT.");
    if (bits != bits_class::bits_8) return report(bits, ": image bits is not 8.");
    image2d grey;
    if (!source.holds_pixels() || !start(grey, source, kinds::grey8))
        return report("rgb2grey(): allocate() fail.");
    const auto row = row_kernels::best().grey;
    for (std::uint32_t y = 0; y < source.height; ++y)
        row(grey.row(y), source.row(y), source.width);
    made = std::move(grey);
    return true;
}

bool normalmap(image2d& made, const image2d& source) {
    const auto [format, type, bits] = source.descriptor;
    const bool bytes = bits == bits_class::bits_8;
    if (source.topdown || source.compressed) {
        report("normalmap(): compressed format not supported.");
        made = source;
        return false;
    }
    if (format == pixel_format::rgb && type != sample_type::floating && bytes) {
        made = source;
        return true;
    }
    if (format != pixel_format::luminance || type != sample_type::unsigned_integer || !bytes) {
        report("normalmap(): image type not supported.");
        made = source;
        return false;
    }
    image2d map;
    map.store = source.store;
    if (!source.holds_pixels() || !start(map, source, kinds::signed_rgb8)) {
        report("normalmap allocate() fail.");
        made = source;
        return false;
    }
    const auto row = row_kernels::best().normals;
    for (std::uint32_t y = 0; y < map.height; ++y)
        row(map.row(y), source.row(y), source.row(y + 1 < map.height ? y + 1 : 0), map.width);
    made = std::move(map);
    return true;
}

bool scaledown(image2d& made, const image2d& source) {
    const row_kernels::set& kernels = row_kernels::best();
    decltype(kernels.halve_3) halve = nullptr;
    switch (source.descriptor.format) {
    case pixel_format::luminance:
        halve = kernels.halve_luminance;
        break;
    case pixel_format::rgb:
    case pixel_format::bgr:
        halve = kernels.halve_3;
        break;
    case pixel_format::rgba:
    case pixel_format::bgra:
        halve = kernels.halve_4;
        break;
    default:
        break;
    }
    if (!halve || source.descriptor.bits != bits_class::bits_8)
        return report("scaledown():: unsupported format.");
    image2d half;
    half.descriptor = source.descriptor;
    half.width = source.width >> 1;
    half.height = source.height >> 1;
    if (!source.holds_pixels() || !half.allocate()) return report("scaledown(): allocate() fail.");
    for (std::uint32_t y = 0; y < half.height; ++y)
        halve(half.row(y), source.row(2 * y), source.row(2 * y + 1), half.width);
    made = std::move(half);
    return true;
}

bool expand_color_index(image2d& made, const image2d& source, bool greys) {
    const std::uint32_t bits = bits_per_component(source.descriptor.bits);
    if (source.descriptor.format != pixel_format::color_index || bits < 1 || bits > 8)
        return report("expand_color_index(): not supported format.");
    image2d expanded;
    if (!source.holds_pixels() || !start(expanded, source, greys ? kinds::grey8 : kinds::rgb8))
        return report("expand_color_index(): allocate() fail.");

    std::array<std::array<unsigned char, 3>, 256> colors{};
    for (std::uint64_t i = 0; i < colors.size() && i < source.colors.count; ++i)
        colors[i] = {static_cast<unsigned char>(source.colors.red[i] >> 8),
                     static_cast<unsigned char>(source.colors.green[i] >> 8),
                     static_cast<unsigned char>(source.colors.blue[i] >> 8)};
    const std::uint32_t mask = (1u << bits) - 1;
    for (std::uint32_t y = 0; y < source.height; ++y) {
        // Counted in bits from the row's first byte: a skip may end within a byte.
        const unsigned char* from = source.row(y);
        unsigned char* to = expanded.row(y);
        std::uint64_t bit = std::uint64_t(source.skip_pixels) * bits % 8;
        for (std::uint32_t x = 0; x < source.width; ++x, bit += bits) {
            const std::uint32_t number = from[bit / 8] >> (8 - bits - bit % 8) & mask;
            to = std::copy_n(colors[number].begin(), components(expanded.descriptor.format), to);
        }
    }
    made = std::move(expanded);
    return true;
}

} // namespace libgr
