#include "libgr/image/tga.h"

#include "libgr/image/convert.h"
#include "libgr/image/input_file.h"
#include "libgr/image/processing.h"
#include "libgr/image/row_writer.h"
#include "libutils/report.h"

#include <algorithm>
#include <array>
#include <utility>

namespace libgr {

using libutils::report;

namespace {

constexpr std::size_t header_bytes = 18;
constexpr std::uint8_t color_mapped = 1, true_color = 2; // image types
// Flags; the low bits count those of alpha.
constexpr std::uint8_t alpha_bits = 0x0F, right_to_left = 0x10, top_down = 0x20, interleaved = 0xC0;

struct header {
    std::uint8_t id_length, map_type, image_type;
    std::uint16_t map_first, map_length;
    std::uint8_t map_entry_bits;
    std::uint16_t x_origin, y_origin, width, height;
    std::uint8_t depth, flags;
};

// The fields one after the other, low bytes first.
header parse(const unsigned char* at) {
    const auto byte = [&] { return *at++; };
    const auto word = [&] {
        at += 2;
        return std::uint16_t(at[-2] | at[-1] << 8);
    };
    header h{};
    h.id_length = byte();
    h.map_type = byte();
    h.image_type = byte();
    h.map_first = word();
    h.map_length = word();
    h.map_entry_bits = byte();
    h.x_origin = word();
    h.y_origin = word();
    h.width = word();
    h.height = word();
    h.depth = byte();
    h.flags = byte();
    return h;
}

std::string to_bytes(const header& h) {
    std::string bytes;
    const auto byte = [&](std::uint8_t v) { bytes += char(v); };
    const auto word = [&](std::uint16_t v) {
        bytes += char(v & 255);
        bytes += char(v >> 8);
    };
    byte(h.id_length);
    byte(h.map_type);
    byte(h.image_type);
    word(h.map_first);
    word(h.map_length);
    byte(h.map_entry_bits);
    word(h.x_origin);
    word(h.y_origin);
    word(h.width);
    word(h.height);
    byte(h.depth);
    byte(h.flags);
    return bytes;
}

struct pixel_kind {
    std::uint8_t depth;
    pixel_descriptor pixels;
};
constexpr pixel_kind pixel_kinds[] = {
    {8, kinds::grey8}, {16, kinds::bgra5551}, {24, kinds::bgr8}, {32, kinds::bgra8}};

// Red, green and blue of a colour-map entry.
std::array<unsigned char, 3> color_of(const unsigned char* entry, std::uint8_t bits) {
    if (bits > 16) return {entry[2], entry[1], entry[0]};
    const unsigned packed = entry[0] | entry[1] << 8;
    const auto wide = [&](int shift) {
        const unsigned v = packed >> shift & 31;
        return static_cast<unsigned char>(v << 3 | v >> 2);
    };
    return {wide(10), wide(5), wide(0)};
}

// Sets the picture's colours, beginning at the number of the first entry; those before are black.
bool read_colors(image2d& image, const header& h, const unsigned char* entries) {
    if (!image.colors.allocate(std::uint64_t(h.map_first) + h.map_length)) return false;
    const std::size_t entry_bytes = (h.map_entry_bits + 7u) / 8;
    for (std::uint32_t i = 0; i < h.map_length; ++i) {
        const auto [r, g, b] = color_of(entries + i * entry_bytes, h.map_entry_bits);
        image.colors.set(h.map_first + i, r, g, b);
    }
    return true;
}

void copy_mirrored(unsigned char* to, const unsigned char* from, std::size_t pixels, std::size_t bytes) {
    for (std::size_t x = 0; x < pixels; ++x)
        std::copy_n(from + (pixels - 1 - x) * bytes, bytes, to + x * bytes);
}

} // namespace

bool load_tga(image2d& image, const std::string& name, const read_options& options) {
    pixel_bytes bytes;
    if (!map_file(bytes, name)) return false;
    if (bytes.size() < header_bytes) return report(name, ": not a tga file.");
    const header h = parse(bytes.data());
    if (h.image_type != color_mapped && h.image_type != true_color)
        return report(name, ": tga image type not supported.");
    if (h.flags & (top_down | interleaved)) return report(name, ": tga row order not supported.");
    image2d made;
    made.width = h.width;
    made.height = h.height;
    const auto* kind = std::find_if(std::begin(pixel_kinds), std::end(pixel_kinds),
                                    [&](const pixel_kind& k) { return k.depth == h.depth; });
    if (kind == std::end(pixel_kinds)) return report(name, ": tga pixel depth not supported.");
    made.descriptor = kind->pixels;
    if (h.width == 0 || h.height == 0) return report(name, ": tga picture has no pixels.");
    const bool has_map = h.map_type != 0;
    const bool uses_map = has_map && h.image_type == color_mapped;
    if (uses_map && (h.depth != 8 || h.map_entry_bits < 15 || h.map_entry_bits > 32))
        return report(name, ": tga colour map not supported.");

    const std::uint64_t map_at = header_bytes + h.id_length;
    const std::uint64_t map_bytes = has_map ? h.map_length * ((h.map_entry_bits + 7u) / 8) : 0;
    const std::uint64_t pixels_at = map_at + map_bytes;
    const std::size_t pixel_bytes_count = h.depth / 8u;
    const std::size_t row_bytes = h.width * pixel_bytes_count;
    if (pixels_at + std::uint64_t(row_bytes) * h.height > bytes.size())
        return report(name, ": tga file is truncated.");
    if (!made.allocate()) return report(name, ": file load failed.");
    for (std::uint32_t y = 0; y < made.height; ++y) {
        const unsigned char* from = bytes.data() + pixels_at + std::uint64_t(y) * row_bytes;
        if (h.flags & right_to_left)
            copy_mirrored(made.row(y), from, h.width, pixel_bytes_count);
        else
            std::copy_n(from, row_bytes, made.row(y));
    }
    if (uses_map) {
        if (!read_colors(made, h, bytes.data() + map_at)) return report(name, ": file load failed.");
        made.descriptor.format = pixel_format::color_index;
        if (made.colors.all_grey() && !expand_color_index(made, made, true)) return false;
    } else if (options.as_meant && kind->pixels.format == pixel_format::bgra &&
               (!(h.flags & alpha_bits) || !shows_anything(made)) && !drop_alpha(made)) {
        return false;
    }
    if (!bytes.is_whole()) return report(name, ": tga file is truncated.");
    image = std::move(made);
    return true;
}

bool save_tga(const image2d& image, const std::string& name) {
    const auto [format, type, bits] = image.descriptor;
    const bool swapped =
        bits == bits_class::bits_8 && (format == pixel_format::rgb || format == pixel_format::rgba);
    const std::uint32_t stored = !swapped                      ? format
                                 : format == pixel_format::rgb ? std::uint32_t(pixel_format::bgr)
                                                               : std::uint32_t(pixel_format::bgra);
    const auto* kind =
        std::find_if(std::begin(pixel_kinds), std::end(pixel_kinds), [&, b = bits](const pixel_kind& k) {
            return k.pixels.format == stored && k.pixels.bits == b;
        });
    if (kind == std::end(pixel_kinds) || type == sample_type::floating || !rows_can_be_written(image))
        return report("convert(to tga): not supported format.");
    if (image.width > 0xffff || image.height > 0xffff) return report("convert(to tga): picture too large.");
    header h{};
    h.image_type = true_color;
    h.depth = kind->depth;
    h.width = std::uint16_t(image.width);
    h.height = std::uint16_t(image.height);
    h.flags = h.depth == 32 ? 8 : h.depth == 16 ? 1 : 0; // bits of alpha
    std::string head;
    if (h.depth == 8) {
        h.image_type = color_mapped;
        h.map_type = 1;
        h.map_length = 256;
        h.map_entry_bits = 24;
        head = to_bytes(h);
        for (int i = 0; i < 256; ++i)
            head.append(3, char(i));
    } else {
        head = to_bytes(h);
    }

    libutils::saved_file file(name);
    if (!file.is_open()) return report(name, ": file open error.");
    file.write(head);
    if (!swapped) {
        write_rows(file, image, 1);
    } else {
        const std::size_t channels = h.depth / 8u;
        std::string row(image.width * channels, '\0');
        for (std::uint32_t y = 0; y < image.height; ++y) {
            std::copy_n(image.row(y), row.size(), row.begin());
            for (std::size_t i = 0; i < row.size(); i += channels)
                std::swap(row[i], row[i + 2]);
            if (!file.write(row)) break;
        }
    }
    return file.commit() || report(name, ": file write error.");
}

} // namespace libgr
