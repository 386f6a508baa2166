#include "libgr/image/convert.h"
#include "libutils/report.h"

#include <cstring>
#include <utility>
#include <vector>

namespace libgr {

using libutils::report;

namespace {

// Where each channel lies in a pixel; -1: nowhere.
struct layout {
    int red, green, blue, alpha;
};

bool layout_of(std::uint32_t format, layout& found) {
    switch (format) {
    case pixel_format::luminance:
        found = {0, 0, 0, -1};
        return true;
    case pixel_format::luminance_alpha:
        found = {0, 0, 0, 1};
        return true;
    case pixel_format::rgb:
        found = {0, 1, 2, -1};
        return true;
    case pixel_format::rgba:
        found = {0, 1, 2, 3};
        return true;
    case pixel_format::bgr:
        found = {2, 1, 0, -1};
        return true;
    case pixel_format::bgra:
        found = {2, 1, 0, 3};
        return true;
    default:
        return false;
    }
}

bool is_grey(std::uint32_t format) {
    return format == pixel_format::luminance || format == pixel_format::luminance_alpha;
}

bool is_readable(const pixel_descriptor& d) {
    switch (d.bits) {
    case bits_class::bits_1:
    case bits_class::bits_2:
    case bits_class::bits_4:
    case bits_class::bits_8:
    case bits_class::bits_16:
        return true;
    case bits_class::packed_1_5_5_5:
        return d.format == pixel_format::rgba || d.format == pixel_format::bgra;
    default:
        return false;
    }
}

bool is_writable(std::uint32_t bits) {
    return bits == bits_class::bits_8 || bits == bits_class::bits_16;
}

// A row's samples with 16 bits each, however they are stored; channels in the order of the format.
void widen_row(std::vector<std::uint16_t>& to, const image2d& image, std::uint32_t y) {
    const pixel_descriptor& d = image.descriptor;
    to.resize(std::size_t(image.width) * components(d.format));
    const unsigned char* from = image.row(y);
    if (d.bits == bits_class::bits_8) {
        for (std::uint16_t& v : to)
            v = std::uint16_t(*from++ * 257);
    } else if (d.bits == bits_class::bits_16) {
        std::memcpy(to.data(), from, to.size() * 2);
    } else if (d.bits == bits_class::packed_1_5_5_5) {
        for (std::size_t i = 0; i < to.size(); i += 4, from += 2) {
            const unsigned packed = from[0] | from[1] << 8;
            for (unsigned c = 0; c < 3; ++c) {
                const unsigned v = packed >> 5 * c & 31;
                to[i + c] = std::uint16_t(v << 11 | v << 6 | v << 1 | v >> 4);
            }
            to[i + 3] = packed & 0x8000 ? 0xFFFF : 0;
        }
    } else {
        const std::uint32_t bits = bits_per_component(d.bits), most = (1u << bits) - 1;
        std::uint64_t bit = std::uint64_t(image.skip_pixels) * bits_per_pixel(d) % 8;
        for (std::uint16_t& v : to) {
            v = std::uint16_t((from[bit / 8] >> (8 - bits - bit % 8) & most) * 0xFFFF / most);
            bit += bits;
        }
    }
}

// Samples of 16 bits as pixels of another layout, 8 or 16 bits a sample.
template <class Sample>
void pack_row(unsigned char* to, const std::vector<std::uint16_t>& from, std::uint32_t from_format,
              std::uint32_t to_format) {
    layout a{}, b{};
    layout_of(from_format, a);
    layout_of(to_format, b);
    const std::size_t from_channels = components(from_format), to_channels = components(to_format);
    for (std::size_t i = 0; i < from.size(); i += from_channels, to += to_channels * sizeof(Sample)) {
        Sample pixel[4];
        const auto set = [&](int at, int source) {
            if (at >= 0)
                pixel[at] = Sample((source >= 0 ? from[i + std::size_t(source)] : 0xFFFFu) >>
                                   (16 - 8 * sizeof(Sample)));
        };
        set(b.red, a.red);
        set(b.green, a.green);
        set(b.blue, a.blue);
        set(b.alpha, a.alpha);
        std::memcpy(to, pixel, to_channels * sizeof(Sample));
    }
}

// Both descriptors are ones of the functions above.
bool convert(image2d& made, const image2d& source, const pixel_descriptor& wanted) {
    if (source.descriptor == wanted) {
        made = source;
        return true;
    }
    image2d converted;
    converted.descriptor = wanted;
    converted.width = source.width;
    converted.height = source.height;
    if (!source.holds_pixels() || !converted.allocate()) return report("convert(): allocate() fail.");
    std::vector<std::uint16_t> wide;
    for (std::uint32_t y = 0; y < source.height; ++y) {
        widen_row(wide, source, y);
        if (wanted.bits == bits_class::bits_8)
            pack_row<std::uint8_t>(converted.row(y), wide, source.descriptor.format, wanted.format);
        else
            pack_row<std::uint16_t>(converted.row(y), wide, source.descriptor.format, wanted.format);
    }
    made = std::move(converted);
    return true;
}

} // namespace

bool convert_format(image2d& made, const image2d& source, std::uint32_t format) {
    layout unused{};
    const pixel_descriptor& from = source.descriptor;
    if (!layout_of(from.format, unused) || !layout_of(format, unused) ||
        (is_grey(format) && !is_grey(from.format)))
        return report("not support format.");
    if (from.type == sample_type::floating) return report("not support image type.");
    if (!is_writable(from.bits)) return report("not support image bits.");
    return convert(made, source, {format, from.type, from.bits});
}

bool convert_type(image2d& made, const image2d& source, std::uint32_t type) {
    if (source.descriptor.type >= sample_type::floating || type >= sample_type::floating)
        return report("not support image type.");
    made = source;
    made.descriptor.type = type;
    return true;
}

bool convert_bits(image2d& made, const image2d& source, std::uint32_t bits) {
    layout unused{};
    const pixel_descriptor& from = source.descriptor;
    if (!layout_of(from.format, unused)) return report("not support format.");
    if (from.type != sample_type::unsigned_integer) return report("not support image type.");
    if (!is_readable(from) || !is_writable(bits)) return report("not support image bits.");
    return convert(made, source, {from.format, from.type, bits});
}

bool shows_anything(const image2d& image) {
    const std::size_t bytes = bits_per_pixel(image.descriptor) / 8;
    const int mask = image.descriptor.bits == bits_class::packed_1_5_5_5 ? 0x80 : 0xFF;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        const unsigned char* last_byte = image.row(y) + bytes - 1;
        for (std::uint32_t x = 0; x < image.width; ++x, last_byte += bytes)
            if (*last_byte & mask) return true;
    }
    return false;
}

bool drop_alpha(image2d& image) {
    return convert_bits(image, image, bits_class::bits_8) && convert_format(image, image, pixel_format::bgr);
}

bool read_rgb_row(unsigned char* rgb, const image2d& image, std::uint32_t y) {
    layout unused{};
    if (!layout_of(image.descriptor.format, unused) || !is_readable(image.descriptor)) return false;
    thread_local std::vector<std::uint16_t> wide;
    widen_row(wide, image, y);
    pack_row<std::uint8_t>(rgb, wide, image.descriptor.format, pixel_format::rgb);
    return true;
}

} // namespace libgr
