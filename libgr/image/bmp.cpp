#include "libgr/image/bmp.h"

#include "libgr/image/convert.h"
#include "libgr/image/input_file.h"
#include "libgr/image/row_writer.h"
#include "libutils/byteorder.h"
#include "libutils/report.h"
#include "libutils/saved_file.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace libgr {

using libutils::report;

namespace {

static_assert(sizeof(tagBITMAPFILEHEADER) == 14 && sizeof(tagBITMAPINFOHEADER) == 40 &&
              sizeof(tagRGBQUAD) == 4);

constexpr std::uint16_t signature = 19778; // "BM"
constexpr std::uint32_t header_bytes = sizeof(tagBITMAPFILEHEADER) + sizeof(tagBITMAPINFOHEADER);
// No sample is wide enough for more colours.
constexpr std::uint64_t most_colors = 65536;

const libutils::intel_byteorder order;

std::int32_t signed32(std::int32_t stored) {
    return std::int32_t(order.to_host32(std::uint32_t(stored)));
}

struct depth {
    std::uint16_t bit_count;
    pixel_descriptor pixels; // luminance becomes colour numbers where there are colours
};
constexpr depth depths[] = {
    {1, kinds::grey1}, {4, kinds::grey4}, {8, kinds::grey8}, {24, kinds::bgr8}, {32, kinds::bgra8}};

} // namespace

bool bmp_file::load(const std::string& name) {
    pixel_bytes bytes;
    if (!map_file(bytes, name)) return false;
    if (bytes.size() < header_bytes) return report(name, ": not a bmp file.");
    file_header.view(bytes, 0, 1);
    info_header.view(bytes, sizeof(tagBITMAPFILEHEADER), 1);
    if (order.to_host16(file_header[0].bfType) != signature) return report(name, ": not a bmp file.");

    const std::uint32_t info_bytes = order.to_host32(info_header[0].biSize);
    const std::uint32_t data = order.to_host32(file_header[0].bfOffBits);
    switch (info_bytes) {
    case 40:
    case 52:
    case 56:
    case 64:
    case 108:
    case 124:
        break;
    default:
        return report(name, ": bmp header not supported.");
    }
    const std::uint64_t colors = std::uint64_t(sizeof(tagBITMAPFILEHEADER)) + info_bytes;
    if (data < colors || data > bytes.size()) return report(name, ": bmp pixels lie outside the file.");
    palette.view(bytes, colors, (data - colors) / sizeof(tagRGBQUAD));
    pixels.view(bytes, data);
    return true;
}

bool load_bmp(image2d& image, const std::string& name, const read_options& options) {
    bmp_file file;
    if (!file.load(name)) return false;
    const tagBITMAPINFOHEADER info = file.info_header[0];
    if (info.biCompression != 0) return report(name, ": compressed bmp not supported.");
    const std::int32_t width = signed32(info.biWidth), height = signed32(info.biHeight);
    if (height < 0) return report(name, ": top-down bmp not supported.");
    if (width <= 0 || height == 0) return report(name, ": bmp size not supported.");

    image2d made;
    made.width = std::uint32_t(width);
    made.height = std::uint32_t(height);
    const auto* found = std::find_if(std::begin(depths), std::end(depths), [&](const depth& d) {
        return d.bit_count == order.to_host16(info.biBitCount);
    });
    if (found == std::end(depths)) return report(name, ": bmp bit count not supported.");
    made.descriptor = found->pixels;
    if (!file.palette.empty() && made.descriptor.format == pixel_format::luminance)
        made.descriptor.format = pixel_format::color_index;
    std::uint64_t bytes = 0;
    if (__builtin_mul_overflow(made.stride(), std::uint64_t(made.height), &bytes) ||
        bytes > file.pixels.size())
        return report(name, ": bmp file is truncated.");
    made.pixels = file.pixels;
    made.pixels.set_view(file.pixels.offset(), bytes);

    if (made.descriptor.format == pixel_format::color_index) {
        if (!made.colors.allocate(std::min<std::uint64_t>(file.palette.size(), most_colors)))
            return report(name, ": file load failed.");
        for (std::uint64_t i = 0; i < made.colors.count; ++i) {
            const tagRGBQUAD& entry = file.palette[i];
            made.colors.set(i, entry.rgbRed, entry.rgbGreen, entry.rgbBlue);
        }
    }
    if (options.as_meant && made.descriptor.format == pixel_format::bgra && !shows_anything(made) &&
        (!is_allowed(made.pixels.size(), options, name) || !drop_alpha(made)))
        return false;
    image = std::move(made);
    return true;
}

bool save_bmp(const image2d& image, const std::string& name, bool with_greys) {
    const auto [format, type, bits] = image.descriptor;
    const auto* found =
        std::find_if(std::begin(depths), std::end(depths), [f = format, b = bits](const depth& d) {
            return d.pixels.format == f && d.pixels.bits == b;
        });
    if (found == std::end(depths) || format == pixel_format::bgra || type == sample_type::floating ||
        !rows_can_be_written(image))
        return report("convert(to bmp): not supported format.");
    std::string colors;
    if (with_greys && format == pixel_format::luminance)
        for (int number = 0, last = (1 << found->bit_count) - 1; number <= last; ++number)
            colors.append(3, char(number * 255 / last)).append(1, '\0');
    const std::uint32_t before_pixels = header_bytes + std::uint32_t(colors.size());
    constexpr std::uint32_t most = std::numeric_limits<std::int32_t>::max();
    const std::uint64_t row_bytes = (std::uint64_t(image.width) * found->bit_count + 31) / 32 * 4;
    // One factor has 32 bits and the other, at most 24 bits a pixel, fewer than 34.
    const std::uint64_t pixel_bytes_count = row_bytes * image.height;
    if (image.width > most || image.height > most ||
        pixel_bytes_count > std::numeric_limits<std::uint32_t>::max() - before_pixels)
        return report("convert(to bmp): picture too large.");

    tagBITMAPFILEHEADER file_header{};
    file_header.bfType = order.to_host16(signature);
    file_header.bfSize = order.to_host32(std::uint32_t(pixel_bytes_count) + before_pixels);
    file_header.bfOffBits = order.to_host32(before_pixels);
    tagBITMAPINFOHEADER info{};
    info.biSize = order.to_host32(sizeof info);
    info.biWidth = signed32(std::int32_t(image.width));
    info.biHeight = signed32(std::int32_t(image.height));
    info.biPlanes = order.to_host16(1);
    info.biBitCount = order.to_host16(found->bit_count);
    info.biSizeImage = order.to_host32(std::uint32_t(pixel_bytes_count));
    // Dots per inch, where the field's name says metre; other programs expect the same small number.
    info.biXPelsPerMeter = info.biYPelsPerMeter = signed32(72);

    char headers[header_bytes];
    std::memcpy(headers, &file_header, sizeof file_header);
    std::memcpy(headers + sizeof file_header, &info, sizeof info);
    libutils::saved_file file(name);
    if (!file.is_open()) return report(name, ": file open error.");
    file.write({headers, sizeof headers});
    file.write(colors);
    write_rows(file, image, 4);
    return file.commit() || report(name, ": file write error.");
}

} // namespace libgr
