#include "picture_file.h"

#include "libgr/image/bmp.h"
#include "libgr/image/convert.h"
#include "libutils/report.h"

#include <algorithm>
#include <cctype>

namespace tool {

using libgr::file_format;
using libgr::image2d;
namespace bits_class = libgr::bits_class;
namespace pixel_format = libgr::pixel_format;

// What the format cannot take is left as it is, and to its writer to refuse.
static bool adapt(image2d& image, file_format format) {
    const std::uint32_t bits = image.descriptor.bits;
    const bool narrow = bits <= bits_class::bits_4;
    const bool packed = bits == bits_class::packed_1_5_5_5;
    const bool widen = format == file_format::jpeg  ? narrow
                       : format == file_format::tga ? narrow
                       : format == file_format::bmp ? bits == bits_class::bits_2
                       : format == file_format::png ? packed
                                                    : false;
    if (widen && !libgr::convert_bits(image, image, bits_class::bits_8)) return false;
    std::uint32_t channels = image.descriptor.format;
    switch (format) {
    case file_format::bmp:
        if (channels == pixel_format::rgb) channels = pixel_format::bgr;
        break;
    case file_format::tga:
        if (channels == pixel_format::luminance_alpha) channels = pixel_format::bgra;
        break;
    case file_format::png:
        if (channels == pixel_format::bgra) channels = pixel_format::rgba;
        [[fallthrough]];
    case file_format::jpeg:
        if (channels == pixel_format::bgr) channels = pixel_format::rgb;
        break;
    case file_format::unknown:
        break;
    }
    return channels == image.descriptor.format || libgr::convert_format(image, image, channels);
}

file_format format_of(const std::string& name) {
    constexpr std::string_view ending = ".jpeg";
    const bool four_letters =
        name.size() >= ending.size() &&
        std::equal(ending.rbegin(), ending.rend(), name.rbegin(),
                   [](char wanted, unsigned char c) { return wanted == std::tolower(c); });
    return four_letters ? file_format::jpeg : libgr::format_of(name);
}

bool load_picture(image2d& image, const std::string& name, libgr::read_options options) {
    options.as_meant = true;
    return libgr::load_as(format_of(name), image, name, options) &&
           (image.leave_file() || libutils::report(name, ": file load failed."));
}

bool save_picture(image2d& image, const std::string& name) {
    const file_format format = format_of(name);
    if (!adapt(image, format)) return false;
    // Others do not read greys without a table.
    return format == file_format::bmp ? libgr::save_bmp(image, name, true)
                                      : libgr::save_as(format, image, name);
}

} // namespace tool
