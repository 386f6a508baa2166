#include "libgr/image/image.h"

#include "libutils/mapping.h"

#include <algorithm>
#include <utility>

namespace libgr {

namespace {

std::uint64_t byte_of(const image_record& image, std::uint64_t stride, std::uint64_t x, std::uint64_t y) {
    return (image.skip_rows + y) * stride + (image.skip_pixels + x) * bits_per_pixel(image.descriptor) / 8;
}

} // namespace

bool color_table::allocate(std::uint64_t entries) {
    count = 0;
    for (channel* one : {&red, &green, &blue}) {
        one->release();
        if (!one->resize(entries)) return false;
    }
    count = entries;
    return true;
}

void color_table::set(std::uint64_t index, unsigned char r, unsigned char g, unsigned char b) {
    // The byte stands in both halves, so that the darkest and the brightest stay so.
    red[index] = static_cast<unsigned short>(r * 257);
    green[index] = static_cast<unsigned short>(g * 257);
    blue[index] = static_cast<unsigned short>(b * 257);
}

bool color_table::all_grey() const {
    for (std::uint64_t i = 0; i < count; ++i)
        if (red[i] != green[i] || red[i] != blue[i]) return false;
    return true;
}

std::uint64_t image_record::stride_of(std::uint32_t width) const {
    const std::uint64_t length = row_length ? row_length : width;
    const std::uint64_t bytes = (length * bits_per_pixel(descriptor) + 7) / 8;
    const std::uint64_t alignment = std::max<std::uint64_t>(store ? store->alignment : 4, 1);
    return (bytes + alignment - 1) / alignment * alignment;
}

bool image_record::allocate_rows(std::uint32_t width, std::uint64_t rows) {
    std::uint64_t bytes = 0;
    if (__builtin_mul_overflow(stride_of(width), rows, &bytes)) return false;
    if (!pixels.allocate(bytes, nullptr, 1, 0, false)) return false;
    libutils::mapping::expect_filling(pixels.data(), bytes);
    return true;
}

bool image_record::leave_file() {
    if (!pixels.in_file()) return true;
    pixel_bytes own;
    if (!own.allocate(pixels.size())) return false;
    std::copy_n(std::as_const(pixels).data(), pixels.size(), own.data());
    if (!pixels.is_whole()) return false;
    pixels = std::move(own);
    return true;
}

const unsigned char* image1d::pixel(std::uint32_t x) const {
    return pixels.data() + byte_of(*this, stride(), x, 0);
}

unsigned char* image1d::pixel(std::uint32_t x) {
    return const_cast<unsigned char*>(std::as_const(*this).pixel(x));
}

const unsigned char* image2d::pixel(std::uint32_t x, std::uint32_t y) const {
    return pixels.data() + byte_of(*this, stride(), x, y);
}

unsigned char* image2d::pixel(std::uint32_t x, std::uint32_t y) {
    return const_cast<unsigned char*>(std::as_const(*this).pixel(x, y));
}

bool image2d::holds_pixels() const {
    std::uint64_t bytes = 0;
    return !__builtin_mul_overflow(stride(), std::uint64_t(skip_rows) + height, &bytes) &&
           bytes <= (pixels.data() ? pixels.size() : 0);
}

bool image3d::allocate() {
    std::uint64_t rows = 0;
    return !__builtin_mul_overflow(std::uint64_t(skip_rows) + height, std::uint64_t(depth), &rows) &&
           allocate_rows(width, rows);
}

const unsigned char* image3d::pixel(std::uint32_t x, std::uint32_t y, std::uint32_t z) const {
    const std::uint64_t slice = stride() * (std::uint64_t(skip_rows) + height);
    return pixels.data() + z * slice + byte_of(*this, stride(), x, y);
}

unsigned char* image3d::pixel(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    return const_cast<unsigned char*>(std::as_const(*this).pixel(x, y, z));
}

} // namespace libgr
